// Fixtures shared by the tests.
#include "test_support.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace testing_support {
namespace fs = boost::filesystem;

TempDir::TempDir()
    : path_((fs::temp_directory_path() / fs::unique_path("archive-test-%%%%%%%%")).string()) {
  fs::create_directory(path_);
}

TempDir::~TempDir() {
  boost::system::error_code ec;
  fs::remove_all(path_, ec);
}

void makeDirs(const std::string& path) { fs::create_directories(path); }

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
                  const std::vector<std::string>& markers, bool inTrash) {
  // An MP4 file type box and no movie yet, as a recording still being written.
  std::string content(size, 'x');
  if (size >= 8) content.replace(0, 8, std::string("\0\0\0\0ftyp", 8));
  for (int i = 0; i < 4 && size >= 8; ++i) content[i] = char(std::uint32_t(size) >> (24 - 8 * i));
  writeFile(dir + (inTrash ? "/.trash/" : "/") + name, content);
  for (const std::string& m : markers) writeFile(dir + "/." + m + "/" + name, "");
}

// posix_spawn rather than fork, since a test may run threads; env(1) sets the variables.
RunResult runArchive(const std::vector<std::string>& args, const Env& env,
                     const std::vector<std::string>& wrapper) {
  std::vector<std::string> words = wrapper;
  words.push_back("env");
  for (const auto& [name, value] : env) words.push_back(name + "=" + value);
  for (const char* word : {ARCHIVE_COMMAND}) words.push_back(word);
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(&word[0]);
  argv.push_back(nullptr);
  const TempDir io;
  const std::string out = io / "out", err = io / "err";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT, 0600);
  pid_t pid = 0;
  const int failed = posix_spawnp(&pid, words[0].c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed) throw std::runtime_error("spawn " + words[0] + ": " + strerror(failed));
  int status = 0;
  for (int waited = 0; waitpid(pid, &status, WNOHANG) == 0; ++waited) {
    if (waited == 20000) kill(pid, SIGKILL);  // 20 s: a hung binary fails its test
    usleep(1000);
  }
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {readFile(out), readFile(err), code};
}

}  // namespace testing_support
