// The device configuration: a JSON file read once per process.
#pragma once

#include <boost/filesystem/path.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cfg {

// A node of the configuration tree, with the file it came from (for relative paths and
// for error messages). Nodes share their tree, which lives as long as any of them; the
// JSON library that parsed it stays behind this interface.
class Node {
 public:
  bool isObject() const;
  bool isArray() const;
  bool isString() const;
  // The member `key` of an object; nothing when absent or when this is not an object.
  std::optional<Node> member(const std::string& key) const;
  // The elements of an array in order; none when this is not an array.
  std::vector<Node> elements() const;
  // The text of a string, which may hold NUL bytes; empty when this is not a string.
  std::string text() const;
  const boost::filesystem::path& file() const;

 private:
  friend class Configdb;
  struct Tree;  // the parsed document and its file
  Node(std::shared_ptr<const Tree> tree, const void* value)
      : tree_(std::move(tree)), value_(value) {}

  std::shared_ptr<const Tree> tree_;
  const void* value_;  // this node's JSON value, inside tree_
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
