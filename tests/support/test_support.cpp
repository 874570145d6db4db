// Fixtures shared by the tests.
#include "test_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testing_support {
namespace fs = std::filesystem;

TempDir::TempDir() : path_((fs::temp_directory_path() / "archive-test-XXXXXX").string()) {
  if (!mkdtemp(&path_[0])) throw std::runtime_error("mkdtemp: " + std::string(strerror(errno)));
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

void writeFile(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  if (!(f << content)) throw std::runtime_error("cannot write " + path);
}

std::string readFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void setMtime(const std::string& path, std::int64_t seconds) {
  const struct timespec times[2] = {{time_t(seconds), 0}, {time_t(seconds), 0}};
  if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0)
    throw std::runtime_error("utimensat " + path + ": " + strerror(errno));
}

void writeDeviceConfig(const std::string& file, const std::vector<Recorder>& recorders) {
  std::string list;
  for (const Recorder& r : recorders) {
    list += (list.empty() ? "" : ",\n") + std::string("{\"id\": \"") + r.id + "\", \"label\": \"" +
            r.label + "\", \"archiveDirectory\": \"" + r.archiveDirectory + "\"}";
  }
  writeFile(file, "{\"media\": {\"recorders\": [" + list + "]}}\n");
}

void addRecording(const std::string& dir, const std::string& name, std::size_t size,
                  const std::vector<std::string>& markers, bool inTrash, std::int64_t mtime) {
  // An MP4 file type box and no movie yet, as a recording still being written.
  std::string content(size, 'x');
  if (size >= 8) content.replace(0, 8, std::string("\0\0\0\0ftyp", 8));
  for (int i = 0; i < 4 && size >= 8; ++i) content[i] = char(std::uint32_t(size) >> (24 - 8 * i));
  writeFile(dir + (inTrash ? "/.trash/" : "/") + name, content);
  if (mtime != -1) setMtime(dir + (inTrash ? "/.trash/" : "/") + name, mtime);
  for (const std::string& m : markers) writeFile(dir + "/." + m + "/" + name, "");
}

// Through the shell, each word quoted: env(1) sets the variables, timeout(1) kills a
// binary hung for 20 seconds (status 137), which fails its test.
RunResult runArchive(const std::vector<std::string>& args, const Env& env,
                     const std::vector<std::string>& wrapper) {
  std::vector<std::string> words = wrapper;
  words.insert(words.end(), {"timeout", "-s", "KILL", "20", "env"});
  for (const auto& [name, value] : env) words.push_back(name + "=" + value);
  for (const char* word : {ARCHIVE_COMMAND}) words.push_back(word);
  words.insert(words.end(), args.begin(), args.end());
  const TempDir io;
  std::string command;
  for (const std::string& word : words) {
    command += "'";
    for (char c : word) command += c == '\'' ? std::string("'\\''") : std::string(1, c);
    command += "' ";
  }
  const int status =
      std::system((command + "<&- </dev/null >" + io / "out" + " 2>" + io / "err").c_str());
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {readFile(io / "out"), readFile(io / "err"), code};
}

}  // namespace testing_support
