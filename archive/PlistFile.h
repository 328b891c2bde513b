// Reading and writing the XML property lists of the settings archives with
// libplist: size and shape checks on input, atomic replacement on output, and
// the lenient value conversions a hand-edited file needs.
#pragma once

#include <plist/plist++.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace plist_file {

// Files larger than this are refused unread: a settings archive is a few
// hundred bytes, and the reader must not be made to swallow a huge file.
constexpr std::uintmax_t kMaxFileSize = 1024 * 1024;
// Deepest nesting of containers accepted; the archives need four levels.
constexpr int kMaxNesting = 16;

// The root dictionary of the property list at `path`, or null with a reason
// in `error` ("... is larger than 1 MiB", "... is not a property list", ...).
std::unique_ptr<PList::Dictionary> ReadDictionary(const std::string& path, std::string& error);

// The XML form of `root`.
std::string ToXml(const PList::Dictionary& root);

// Writes `data` to `path` through a temporary file in the same folder and a
// rename, so a reader never sees half a file. False with a reason on failure;
// an existing file at `path` is then left as it was.
bool WriteAtomically(const std::string& path, const std::string& data, std::string& error);

// The entry `key` of `dict`, or null. Never inserts (operator[] would).
const PList::Node* Find(const PList::Dictionary& dict, const std::string& key);

// The integer value of a node, as a number or text of the file reads: integers
// (negative ones included), reals truncated, booleans 0/1, texts by their
// leading decimal number (0 when there is none). Null for containers, data
// and dates, which have no integer value. Saturates at the int range.
std::optional<int> IntegerValue(const PList::Node* node);

// The text of a string node; numbers and booleans as their decimal text. Null
// for containers, data and dates.
std::optional<std::string> TextValue(const PList::Node* node);

// A dictionary node, or null.
const PList::Dictionary* AsDictionary(const PList::Node* node);

}  // namespace plist_file
