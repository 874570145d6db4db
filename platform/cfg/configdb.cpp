// Reading the device configuration file: one JSON document, loaded once per process.
#include "cfg/configdb.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

namespace cfg {

namespace {

const char kDefaultFile[] = "/etc/device/config.json";

std::runtime_error readError(const boost::filesystem::path& file, int error) {
  return std::runtime_error(file.string() + ": cannot read: " + std::strerror(error));
}

std::runtime_error parseError(const boost::filesystem::path& file, std::size_t line,
                              std::size_t column, const std::string& reason) {
  return std::runtime_error(file.string() + ": not valid JSON at line " +
                            std::to_string(line) + ", column " + std::to_string(column) +
                            ": " + reason);
}

// The whole file as bytes. Read through the descriptor so that a folder or a device
// error yields the system's reason rather than a silent empty text.
std::string readAll(const boost::filesystem::path& file) {
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw readError(file, errno);
  std::string text;
  char buffer[16384];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<std::size_t>(n));
    } else if (n == 0) {
      break;
    } else if (errno != EINTR) {
      const int error = errno;
      ::close(fd);
      throw readError(file, error);
    }
  }
  ::close(fd);
  return text;
}

// nlohmann's message starts with "[json.exception.parse_error.101] parse error at ...: ";
// keep only what follows, the reason itself.
std::string parseReason(const char* what) {
  const std::string text(what);
  const std::size_t at = text.find("parse error");
  const std::size_t colon = at == std::string::npos ? at : text.find(": ", at);
  return colon == std::string::npos ? text : text.substr(colon + 2);
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

Node::Node(nlohmann::json value, boost::filesystem::path file)
    : value_(std::move(value)), file_(std::move(file)) {}

Configdb Configdb::load(const boost::filesystem::path& file) {
  const std::string text = readAll(file);
  try {
    return Configdb(Node(nlohmann::json::parse(text), file));
  } catch (const nlohmann::json::parse_error& e) {
    const auto position = lineAndColumn(text, e.byte);
    throw parseError(file, position.first, position.second, parseReason(e.what()));
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
