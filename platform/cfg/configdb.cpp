// Reading the device configuration file: one JSON document, loaded once per process.
#include "cfg/configdb.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <utility>

namespace cfg {

using nlohmann::json;

struct Node::Tree {
  json root;
  boost::filesystem::path file;
};

namespace {

const char kDefaultFile[] = "/etc/device/config.json";

// The longest quote of the file that an error line carries.
constexpr std::size_t kMaxQuote = 40;

// A configuration is a few kilobytes; anything near this is not one.
constexpr off_t kMaxBytes = 16 * 1024 * 1024;

std::runtime_error fileError(const boost::filesystem::path& file, const std::string& fault) {
  return std::runtime_error(file.string() + ": " + fault);
}

std::runtime_error readError(const boost::filesystem::path& file, int error) {
  std::string fault = std::string("cannot read: ") + std::strerror(error);
  // A newcomer on a machine without the default file learns how to name another.
  if (error == ENOENT && file == kDefaultFile)
    fault += " (set DEVICE_CONFIG to the path of the device configuration)";
  return fileError(file, fault);
}

std::runtime_error parseError(const boost::filesystem::path& file, std::size_t line,
                              std::size_t column, const std::string& reason) {
  return fileError(file, "not valid JSON at line " + std::to_string(line) + ", column " +
                             std::to_string(column) + ": " + reason);
}

const char* kindOf(mode_t mode) {
  if (S_ISDIR(mode)) return "a folder";
  if (S_ISFIFO(mode)) return "a FIFO";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
  if (S_ISSOCK(mode)) return "a socket";
  return "not a plain file";
}

// Closes the descriptor on every way out.
struct Fd {
  int fd;
  ~Fd() {
    if (fd >= 0) ::close(fd);
  }
};

// The whole file as bytes. Only a regular file of at most kMaxBytes is read, and that
// is checked before the first byte: a FIFO would block, a device never end. O_NONBLOCK
// keeps the open itself from waiting for a FIFO's writer.
std::string readAll(const boost::filesystem::path& file) {
  const Fd f{::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
  if (f.fd < 0) throw readError(file, errno);
  struct stat st;
  if (::fstat(f.fd, &st) != 0) throw readError(file, errno);
  if (!S_ISREG(st.st_mode))
    throw fileError(file,
                    std::string("cannot read: ") + kindOf(st.st_mode) + ", not a regular file");
  if (st.st_size > kMaxBytes)
    throw fileError(file, "cannot read: " + std::to_string(st.st_size) +
                              " bytes, larger than the 16 MiB a configuration may have");
  std::string text;
  char buffer[16384];
  for (;;) {
    const ssize_t n = ::read(f.fd, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<std::size_t>(n));
      // It grew after the check.
      if (text.size() > std::size_t(kMaxBytes))
        throw fileError(file, "cannot read: larger than the 16 MiB a configuration may have");
    } else if (n == 0) {
      break;
    } else if (errno != EINTR) {
      throw readError(file, errno);
    }
  }
  return text;
}

// nlohmann's messages start with "[json.exception.<kind>.<number>] ", and a parse
// error goes on with "parse error at line L, column C: "; keep only the reason itself.
std::string jsonReason(const char* what) {
  std::string text(what);
  if (text.compare(0, 16, "[json.exception.") == 0) {
    const std::size_t close = text.find("] ");
    if (close != std::string::npos) text.erase(0, close + 2);
  }
  if (text.compare(0, 11, "parse error") == 0) {
    const std::size_t colon = text.find(": ");
    if (colon != std::string::npos) text.erase(0, colon + 2);
  }
  // The parser quotes what it read last, which may be a whole line or string of the file.
  const std::string lastRead = "; last read: '";
  const std::size_t quote = text.find(lastRead);
  const std::size_t from = quote == std::string::npos ? quote : quote + lastRead.size();
  if (from != std::string::npos && text.size() - from > kMaxQuote + 1)
    text = text.substr(0, from + kMaxQuote - 3) + "...'";
  return text;
}

// Line and column, both from 1, of the byte at position `byte` (counted from 1, as
// nlohmann reports it; one past the end when the input ended too early).
std::pair<std::size_t, std::size_t> lineAndColumn(const std::string& text, std::size_t byte) {
  const std::size_t end = std::min(byte == 0 ? 0 : byte - 1, text.size());
  std::size_t line = 1;
  std::size_t lineStart = 0;
  for (std::size_t i = 0; i < end; ++i) {
    if (text[i] == '\n') {
      ++line;
      lineStart = i + 1;
    }
  }
  return {line, end - lineStart + 1};
}

}  // namespace

namespace {

// The library's own document builder, which also keeps where the failing token began:
// the exceptions of some errors (a number too large) carry no position of their own.
struct DomWithErrorPosition : nlohmann::detail::json_sax_dom_parser<json> {
  using json_sax_dom_parser::json_sax_dom_parser;
  std::size_t errorStart = 0;  // from 0

  // `end` is the count of characters read, up to the end of `token`.
  template <class Exception>
  bool parse_error(std::size_t end, const std::string& token, const Exception& ex) {
    errorStart = end >= token.size() ? end - token.size() : 0;
    return json_sax_dom_parser::parse_error(end, token, ex);
  }
};

const json& valueOf(const void* value) { return *static_cast<const json*>(value); }
}  // namespace

bool Node::isObject() const { return valueOf(value_).is_object(); }
bool Node::isArray() const { return valueOf(value_).is_array(); }
bool Node::isString() const { return valueOf(value_).is_string(); }

std::optional<Node> Node::member(const std::string& key) const {
  const json& value = valueOf(value_);
  if (!value.is_object()) return std::nullopt;
  const auto it = value.find(key);
  if (it == value.end()) return std::nullopt;
  return Node(tree_, &*it);
}

std::vector<Node> Node::elements() const {
  std::vector<Node> nodes;
  const json& value = valueOf(value_);
  if (!value.is_array()) return nodes;
  for (const json& element : value) nodes.push_back(Node(tree_, &element));
  return nodes;
}

std::string Node::text() const {
  const json& value = valueOf(value_);
  return value.is_string() ? value.get<std::string>() : std::string();
}

const boost::filesystem::path& Node::file() const { return tree_->file; }

Configdb Configdb::load(const boost::filesystem::path& file) { return parse(readAll(file), file); }

Configdb Configdb::parse(const std::string& text, const boost::filesystem::path& file) {
  // The library takes a NUL byte for the end of the text: after a whole document it would
  // ignore the rest of the file without a word.
  const std::size_t nul = text.find('\0');
  if (nul != std::string::npos) {
    const auto position = lineAndColumn(text, nul + 1);
    throw parseError(file, position.first, position.second, "a NUL byte");
  }
  auto tree = std::make_shared<Node::Tree>(Node::Tree{json(), file});
  DomWithErrorPosition dom(tree->root);
  try {
    json::sax_parse(text, &dom);
    const void* root = &tree->root;
    return Configdb(Node(std::move(tree), root));
  } catch (const json::parse_error& e) {
    const auto position = lineAndColumn(text, e.byte);
    throw parseError(file, position.first, position.second, jsonReason(e.what()));
  } catch (const json::out_of_range& e) {
    // A number too large for a double ("number overflow parsing '1e99999'"): the
    // exception has no position, the parser told the builder where the number ended.
    const auto position = lineAndColumn(text, dom.errorStart + 1);
    throw parseError(file, position.first, position.second, jsonReason(e.what()));
  } catch (const json::exception& e) {
    throw fileError(file, "not valid JSON: " + jsonReason(e.what()));
  }
}

Configdb& Configdb::config() {
  // A failed load is remembered too: the process sees one configuration, or one error.
  struct Loaded {
    std::optional<Configdb> db;
    std::exception_ptr failure;
  };
  static Loaded loaded = [] {
    Loaded result;
    const char* env = std::getenv("DEVICE_CONFIG");
    try {
      result.db = load(env && *env ? env : kDefaultFile);
    } catch (...) {
      result.failure = std::current_exception();
    }
    return result;
  }();
  if (!loaded.db) std::rethrow_exception(loaded.failure);
  return *loaded.db;
}

}  // namespace cfg
