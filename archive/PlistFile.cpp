// Property-list file access for the settings archives.
#include "PlistFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace plist_file {

namespace {

int Saturate(long long value) {
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

// atoi of a text, without its undefined behaviour on overflow.
int LeadingNumber(const std::string& text) {
  errno = 0;
  long long value = std::strtoll(text.c_str(), nullptr, 10);
  if (errno == ERANGE) return value < 0 ? INT_MIN : INT_MAX;
  return Saturate(value);
}

// True when no container of the tree lies deeper than `limit`. Walks with
// its own stack: a hostile file nests tens of thousands of levels, and the
// C++ wrappers recurse once per level.
bool NestingWithin(plist_t root, int limit) {
  std::vector<std::pair<plist_t, int>> pending{{root, 1}};
  while (!pending.empty()) {
    auto [node, depth] = pending.back();
    pending.pop_back();
    plist_type type = plist_get_node_type(node);
    if (type != PLIST_ARRAY && type != PLIST_DICT) continue;
    if (depth > limit) return false;
    if (type == PLIST_ARRAY) {
      uint32_t size = plist_array_get_size(node);
      for (uint32_t i = 0; i < size; ++i) pending.emplace_back(plist_array_get_item(node, i), depth + 1);
    } else {
      plist_dict_iter iter = nullptr;
      plist_dict_new_iter(node, &iter);
      for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iter, &key, &value);
        std::free(key);
        if (!value) break;
        pending.emplace_back(value, depth + 1);
      }
      std::free(iter);
    }
  }
  return true;
}

}  // namespace

PlistTree ReadDictionary(const std::string& path, std::string& error) {
  namespace fs = std::filesystem;
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) {
    error = "The file " + path + " does not exist or is not a regular file.";
    return nullptr;
  }
  std::uintmax_t size = fs::file_size(path, ec);
  if (ec) {
    error = "The file " + path + " cannot be read: " + ec.message() + ".";
    return nullptr;
  }
  if (size > kMaxFileSize) {
    error = "The file " + path + " is larger than 1 MiB and is not a settings file.";
    return nullptr;
  }
  std::ifstream in(path, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in.good() && !in.eof()) {
    error = "The file " + path + " cannot be read.";
    return nullptr;
  }
  // The file may have grown between the size check and the read.
  if (bytes.size() > kMaxFileSize) {
    error = "The file " + path + " is larger than 1 MiB and is not a settings file.";
    return nullptr;
  }
  plist_t raw = nullptr;
  if (!bytes.empty()) plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &raw);
  PlistTree root(raw);
  if (!root) {
    error = "The file " + path + " is not a property list.";
    return nullptr;
  }
  if (plist_get_node_type(root.get()) != PLIST_DICT) {
    error = "The file " + path + " does not hold a dictionary of settings.";
    return nullptr;
  }
  if (!NestingWithin(root.get(), kMaxNesting)) {
    error = "The file " + path + " nests its values too deeply to be a settings file.";
    return nullptr;
  }
  return root;
}

std::string ToXml(const PList::Dictionary& root) { return root.ToXml(); }

bool WriteAtomically(const std::string& path, const std::string& data, std::string& error) {
  namespace fs = std::filesystem;
  fs::path target(path);
  fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  std::string pattern = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd = mkstemp(name.data());
  if (fd < 0) {
    error = "Cannot create a file in " + folder.string() + ": " + std::strerror(errno);
    return false;
  }
  const std::string temp(name.data());
  size_t written = 0;
  while (written < data.size()) {
    ssize_t n = ::write(fd, data.data() + written, data.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      break;
    }
    written += static_cast<size_t>(n);
  }
  // A settings file is meant to be read by the user, like any document.
  bool ok = written == data.size() && ::fchmod(fd, 0644) == 0 && ::fsync(fd) == 0;
  int saved = errno;
  if (::close(fd) != 0 && ok) {
    ok = false;
    saved = errno;
  }
  if (ok && std::rename(temp.c_str(), path.c_str()) != 0) {
    ok = false;
    saved = errno;
  }
  if (!ok) {
    ::unlink(temp.c_str());
    error = "Cannot write " + path + ": " + std::strerror(saved);
  }
  return ok;
}

plist_t Find(plist_t dict, const std::string& key) {
  if (!IsDictionary(dict)) return nullptr;
  return plist_dict_get_item(dict, key.c_str());
}

void ForEach(plist_t dict, const std::function<void(const std::string& key, plist_t value)>& visit) {
  if (!IsDictionary(dict)) return;
  plist_dict_iter iter = nullptr;
  plist_dict_new_iter(dict, &iter);
  for (;;) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(dict, iter, &key, &value);
    if (!value) {
      std::free(key);
      break;
    }
    std::string name = key ? key : "";
    std::free(key);
    visit(name, value);
  }
  std::free(iter);
}

uint32_t Size(plist_t dict) { return IsDictionary(dict) ? plist_dict_get_size(dict) : 0; }

std::optional<int> IntegerValue(plist_t node) {
  if (!node) return std::nullopt;
  switch (plist_get_node_type(node)) {
    case PLIST_UINT: {
      // libplist hands out the 64 bits unsigned; the files hold signed values.
      uint64_t value = 0;
      plist_get_uint_val(node, &value);
      return Saturate(static_cast<long long>(value));
    }
    case PLIST_REAL: {
      double value = 0;
      plist_get_real_val(node, &value);
      if (!(value == value)) return 0;  // NaN
      if (value >= static_cast<double>(INT_MAX)) return INT_MAX;
      if (value <= static_cast<double>(INT_MIN)) return INT_MIN;
      return static_cast<int>(value);
    }
    case PLIST_BOOLEAN: {
      uint8_t value = 0;
      plist_get_bool_val(node, &value);
      return value ? 1 : 0;
    }
    case PLIST_STRING:
      return LeadingNumber(*TextValue(node));
    default:
      return std::nullopt;
  }
}

std::optional<std::string> TextValue(plist_t node) {
  if (!node) return std::nullopt;
  switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
      char* value = nullptr;
      plist_get_string_val(node, &value);
      std::string text = value ? value : "";
      std::free(value);
      return text;
    }
    case PLIST_UINT:
    case PLIST_REAL:
    case PLIST_BOOLEAN: {
      if (plist_get_node_type(node) == PLIST_REAL) {
        double value = 0;
        plist_get_real_val(node, &value);
        char text[64];
        std::snprintf(text, sizeof text, "%g", value);
        return std::string(text);
      }
      return std::to_string(*IntegerValue(node));
    }
    default:
      return std::nullopt;
  }
}

bool IsDictionary(plist_t node) { return node && plist_get_node_type(node) == PLIST_DICT; }
bool IsString(plist_t node) { return node && plist_get_node_type(node) == PLIST_STRING; }

}  // namespace plist_file
