// The device configuration: a JSON file read once per process.
#pragma once

#include <string>

#include <boost/filesystem/path.hpp>
#include <nlohmann/json.hpp>

namespace cfg {

// A node of the configuration tree, with the file it came from (for relative paths and
// for error messages).
class Node {
 public:
  Node(nlohmann::json value, boost::filesystem::path file);
  const nlohmann::json& value() const { return value_; }
  const boost::filesystem::path& file() const { return file_; }

 private:
  nlohmann::json value_;
  boost::filesystem::path file_;
};

class Configdb {
 public:
  // The process-wide database, loaded on first use from $DEVICE_CONFIG, or from
  // /etc/device/config.json when that is unset or empty. Throws std::runtime_error with
  // a one-line text naming the file and the fault.
  static Configdb& config();

  const Node& root() const { return root_; }

  // Loads the file at `file` (used by config(), and by tests).
  static Configdb load(const boost::filesystem::path& file);
  // Parses `text` as the content of `file`, which names it in errors and anchors
  // relative paths.
  static Configdb parse(const std::string& text, const boost::filesystem::path& file);

 private:
  explicit Configdb(Node root) : root_(std::move(root)) {}
  Node root_;
};

}  // namespace cfg
