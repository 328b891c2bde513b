// Reading and writing the XML property lists of the settings archives with
// libplist: size and shape checks on input, atomic replacement on output, and
// the lenient value conversions a hand-edited file needs.
#pragma once

#include <plist/plist++.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace plist_file {

// Files larger than this are refused unread: a settings archive is a few
// hundred bytes, and the reader must not be made to swallow a huge file.
constexpr std::uintmax_t kMaxFileSize = 1024 * 1024;
// Deepest nesting of containers accepted; the archives need four levels.
constexpr int kMaxNesting = 16;

// An owned tree of the C library. The reader walks it with the C calls: the
// C++ wrappers of libplist 2.2 leak the children of arrays and recurse once
// per level of nesting.
struct PlistFree {
  void operator()(plist_t node) const { plist_free(node); }
};
using PlistTree = std::unique_ptr<void, PlistFree>;

// The property list at `path` when its root is a dictionary, or null with a
// reason in `error` ("... is larger than 1 MiB", "... is not a property
// list", ...).
PlistTree ReadDictionary(const std::string& path, std::string& error);

// The XML form of `root`.
std::string ToXml(const PList::Dictionary& root);

// `text` as a property-list reader accepts it: control bytes (a printer's
// terminator or NAK in a serial number) and bytes that are no part of a
// UTF-8 character are left out.
std::string Printable(const std::string& text);
// A string node of Printable(text): what every text of the archives is written as.
PList::String TextNode(const std::string& text);

// Writes `data` to `path` through a temporary file in the same folder and a
// rename, so a reader never sees half a file. False with a reason on failure;
// an existing file at `path` is then left as it was.
bool WriteAtomically(const std::string& path, const std::string& data, std::string& error);

// The entry `key` of the dictionary `dict`, or null.
plist_t Find(plist_t dict, const std::string& key);

// Calls `visit` with each key and value of the dictionary `dict`, in the
// file's order.
void ForEach(plist_t dict, const std::function<void(const std::string& key, plist_t value)>& visit);

// Number of entries of the dictionary `dict`.
uint32_t Size(plist_t dict);

// The integer value of a node, as a number or text of the file reads: integers
// (negative ones included), reals truncated, booleans 0/1, texts by their
// leading decimal number (0 when there is none). Null for containers, data
// and dates, which have no integer value. Saturates at the int range.
std::optional<int> IntegerValue(plist_t node);

// The text of a string node; numbers and booleans as their decimal text. Null
// for containers, data and dates.
std::optional<std::string> TextValue(plist_t node);

// True for a dictionary node.
bool IsDictionary(plist_t node);
bool IsString(plist_t node);

}  // namespace plist_file
