// Property-list file access for the settings archives.
#include "PlistFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
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

// A big-endian unsigned number of `width` bytes at `at`; false when it does
// not lie wholly inside `bytes`.
bool ReadUnsigned(const std::vector<char>& bytes, uint64_t at, uint64_t width, uint64_t& value) {
  if (width == 0 || width > 8 || at > bytes.size() || bytes.size() - at < width) return false;
  value = 0;
  for (uint64_t i = 0; i < width; ++i) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return true;
}

// The object table of a binary property list ("bplist00", a 32-byte
// trailer naming the offset table), read only as far as the checks before
// parsing need it.
class BinaryObjects {
 public:
  explicit BinaryObjects(const std::vector<char>& bytes) : bytes_(bytes) {
    const size_t size = bytes.size();
    if (size < 8 + 32 || std::memcmp(bytes.data(), "bplist00", 8) != 0) return;
    offsetSize_ = static_cast<unsigned char>(bytes[size - 26]);
    refSize_ = static_cast<unsigned char>(bytes[size - 25]);
    if (!ReadUnsigned(bytes, size - 24, 8, count_) || !ReadUnsigned(bytes, size - 16, 8, root_) ||
        !ReadUnsigned(bytes, size - 8, 8, table_))
      return;
    valid_ = offsetSize_ >= 1 && offsetSize_ <= 8 && refSize_ >= 1 && refSize_ <= 8 && root_ < count_ &&
             table_ <= size && count_ <= (size - table_) / offsetSize_;
  }
  bool Valid() const { return valid_; }
  uint64_t Count() const { return count_; }
  uint64_t Root() const { return root_; }

  // The element count of the object whose marker byte is at `at` (the low
  // four bits, or the integer object after them when they are all set);
  // `at` is left on the first byte behind the count.
  bool Size(uint64_t& at, uint64_t& size) const {
    size = static_cast<unsigned char>(bytes_[at]) & 0x0F;
    ++at;
    if (size == 0x0F) {
      if (at >= bytes_.size() || (static_cast<unsigned char>(bytes_[at]) & 0xF0) != 0x10) return false;
      const uint64_t width = uint64_t{1} << (bytes_[at] & 0x0F);
      if (!ReadUnsigned(bytes_, at + 1, width, size)) return false;
      at += 1 + width;
    }
    return size <= bytes_.size();
  }

  // True for an ASCII or UTF-16 text object with a NUL character in it.
  bool TextHoldsNul(uint64_t index) const {
    uint64_t at = 0;
    if (!ReadUnsigned(bytes_, table_ + index * offsetSize_, offsetSize_, at) || at >= bytes_.size()) return false;
    const unsigned type = static_cast<unsigned char>(bytes_[at]) & 0xF0;
    if (type != 0x50 && type != 0x60) return false;
    uint64_t length = 0;
    if (!Size(at, length)) return false;
    const uint64_t unit = type == 0x60 ? 2 : 1;
    for (uint64_t i = 0; i < length && at + (i + 1) * unit <= bytes_.size(); ++i) {
      if (bytes_[at + i * unit] == 0 && (unit == 1 || bytes_[at + i * unit + 1] == 0)) return true;
    }
    return false;
  }

  // The objects an array, set or dictionary refers to (keys included);
  // false for any other object or one that cannot be read. `nulInKey` is
  // set for a dictionary with a key that holds a NUL.
  bool Children(uint64_t index, std::vector<uint64_t>& children, bool& nulInKey) const {
    children.clear();
    uint64_t at = 0;
    if (!ReadUnsigned(bytes_, table_ + index * offsetSize_, offsetSize_, at) || at >= bytes_.size()) return false;
    const unsigned char marker = static_cast<unsigned char>(bytes_[at]);
    const unsigned type = marker & 0xF0;
    if (type != 0xA0 && type != 0xC0 && type != 0xD0) return false;
    uint64_t size = 0;
    if (!Size(at, size)) return false;
    const uint64_t refs = type == 0xD0 ? 2 * size : size;
    for (uint64_t i = 0; i < refs; ++i) {
      uint64_t ref = 0;
      if (!ReadUnsigned(bytes_, at + i * refSize_, refSize_, ref)) break;
      if (ref >= count_) continue;
      children.push_back(ref);
      if (type == 0xD0 && i < size && TextHoldsNul(ref)) nulInKey = true;
    }
    return true;
  }

 private:
  const std::vector<char>& bytes_;
  unsigned offsetSize_ = 0;
  unsigned refSize_ = 0;
  uint64_t count_ = 0;
  uint64_t root_ = 0;
  uint64_t table_ = 0;
  bool valid_ = false;
};

// What the bytes of a binary property list show before libplist parses
// them. libplist parses binary lists recursively, once per level, so a file
// nesting tens of thousands of arrays would overflow the stack before the
// tree could be checked; and it aborts the program on a dictionary key with
// a NUL in it. Anything that is no well-formed binary list is kFine here,
// for libplist to refuse.
enum class BinaryCheck { kFine, kTooDeep, kNulInKey };
BinaryCheck CheckBinary(const std::vector<char>& bytes, int limit) {
  BinaryObjects objects(bytes);
  if (!objects.Valid()) return BinaryCheck::kFine;
  enum : unsigned char { kUnseen, kOpen, kDone };
  std::vector<unsigned char> state(objects.Count(), kUnseen);
  std::vector<int> height(objects.Count(), 0);  // containers on the longest chain from an object down
  struct Frame {
    uint64_t index;
    std::vector<uint64_t> children;
    size_t next = 0;
    int deepest = 0;
  };
  bool nulInKey = false;
  std::vector<Frame> stack(1);
  stack[0].index = objects.Root();
  if (!objects.Children(objects.Root(), stack[0].children, nulInKey)) return BinaryCheck::kFine;
  state[objects.Root()] = kOpen;
  while (!stack.empty()) {
    if (nulInKey) return BinaryCheck::kNulInKey;
    Frame& top = stack.back();
    if (top.next == top.children.size()) {
      const int own = top.deepest + 1;
      state[top.index] = kDone;
      height[top.index] = own;
      stack.pop_back();
      if (!stack.empty()) stack.back().deepest = std::max(stack.back().deepest, own);
      continue;
    }
    const uint64_t child = top.children[top.next++];
    if (state[child] == kDone) {
      if (static_cast<int>(stack.size()) + height[child] > limit) return BinaryCheck::kTooDeep;
      top.deepest = std::max(top.deepest, height[child]);
      continue;
    }
    if (state[child] == kOpen) continue;  // a cycle: libplist refuses it
    Frame frame;
    frame.index = child;
    if (!objects.Children(child, frame.children, nulInKey)) {
      state[child] = kDone;
      continue;
    }
    state[child] = kOpen;
    stack.push_back(std::move(frame));
    if (static_cast<int>(stack.size()) > limit) return BinaryCheck::kTooDeep;
  }
  return nulInKey ? BinaryCheck::kNulInKey : BinaryCheck::kFine;
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
  // XML has no NUL character; libplist would keep one in a key or text and
  // abort the program on it.
  const bool binary = bytes.size() >= 8 && std::memcmp(bytes.data(), "bplist00", 8) == 0;
  const BinaryCheck check = binary ? CheckBinary(bytes, kMaxNesting) : BinaryCheck::kFine;
  if ((!binary && !bytes.empty() && std::memchr(bytes.data(), 0, bytes.size())) || check == BinaryCheck::kNulInKey) {
    error = "The file " + path + " is not a property list.";
    return nullptr;
  }
  if (check == BinaryCheck::kTooDeep) {
    error = "The file " + path + " nests its values too deeply to be a settings file.";
    return nullptr;
  }
  // A UTF-8 byte-order mark before the XML is no part of it.
  if (bytes.size() >= 3 && std::memcmp(bytes.data(), "\xEF\xBB\xBF", 3) == 0)
    bytes.erase(bytes.begin(), bytes.begin() + 3);
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

std::string Printable(const std::string& text) {
  std::string out;
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const size_t n = text.size();
  for (size_t i = 0; i < n;) {
    const unsigned char c = s[i];
    if (c < 0x80) {
      if (c >= 0x20 && c != 0x7F) out += static_cast<char>(c);
      ++i;
      continue;
    }
    // A whole, shortest-form UTF-8 sequence is kept; any other byte goes.
    const size_t length = c >= 0xC2 && c <= 0xDF ? 2 : c >= 0xE0 && c <= 0xEF ? 3 : c >= 0xF0 && c <= 0xF4 ? 4 : 0;
    bool whole = length != 0 && i + length <= n;
    for (size_t k = 1; whole && k < length; ++k) whole = (s[i + k] & 0xC0) == 0x80;
    if (whole && length == 3) {
      const unsigned code = ((c & 0x0Fu) << 12) | ((s[i + 1] & 0x3Fu) << 6);
      whole = code >= 0x800 && (code < 0xD800 || code > 0xDFFF);
    }
    if (whole && length == 4) {
      const unsigned code = ((c & 0x07u) << 18) | ((s[i + 1] & 0x3Fu) << 12);
      whole = code >= 0x10000 && code <= 0x10FFFF;
    }
    if (whole) out.append(text, i, length);
    i += whole ? length : 1;
  }
  return out;
}

PList::String TextNode(const std::string& text) { return PList::String(Printable(text)); }

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
      // By its length: a UTF-16 text of a binary list may hold a NUL, on
      // which plist_get_string_val aborts the program. The NUL stays, for
      // the readers' control-character checks to see.
      uint64_t length = 0;
      const char* value = plist_get_string_ptr(node, &length);
      return value ? std::string(value, length) : std::string();
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
