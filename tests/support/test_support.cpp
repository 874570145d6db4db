// Fixtures shared by the tests.
#include "test_support.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include <boost/filesystem.hpp>
#include <nlohmann/json.hpp>

extern char** environ;

namespace testing_support {
namespace fs = boost::filesystem;

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string templ = std::string(base && *base ? base : "/tmp") + "/archive-test-XXXXXX";
  std::vector<char> buf(templ.begin(), templ.end());
  buf.push_back('\0');
  if (!mkdtemp(buf.data())) throw std::runtime_error("mkdtemp: " + std::string(strerror(errno)));
  path_ = buf.data();
}

TempDir::~TempDir() {
  boost::system::error_code ec;
  // Tests may take permissions away; give them back so the tree can be removed.
  for (fs::recursive_directory_iterator it(path_, ec), end; !ec && it != end; it.increment(ec)) {
    if (fs::is_directory(it->symlink_status())) {
      ::chmod(it->path().c_str(), 0700);
    }
  }
  ::chmod(path_.c_str(), 0700);
  fs::remove_all(path_, ec);
}

void makeDirs(const std::string& path) { fs::create_directories(path); }

void writeFile(const std::string& path, const std::string& content) {
  fs::path p(path);
  if (p.has_parent_path()) fs::create_directories(p.parent_path());
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  if (!f) throw std::runtime_error("cannot write " + path);
  f << content;
}

std::string readFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

void setMtime(const std::string& path, std::int64_t seconds) {
  struct timespec times[2];
  times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(seconds);
  times[0].tv_nsec = times[1].tv_nsec = 0;
  if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
    throw std::runtime_error("utimensat " + path + ": " + strerror(errno));
  }
}

void writeDeviceConfig(const std::string& file, const std::vector<Recorder>& recorders) {
  nlohmann::json list = nlohmann::json::array();
  for (const Recorder& r : recorders) {
    list.push_back({{"id", r.id}, {"label", r.label}, {"archiveDirectory", r.archiveDirectory}});
  }
  nlohmann::json doc = {{"media", {{"recorders", list}}}};
  writeFile(file, doc.dump(2) + "\n");
}

void addRecording(const std::string& dir, const std::string& name, std::size_t size,
                  const std::vector<std::string>& markers, bool inTrash) {
  // An MP4 file type box and no movie yet, as a recording still being written: its
  // duration is the time it has been written.
  std::string content(size, 'x');
  if (size >= 8) content.replace(0, 8, std::string("\0\0\0\0ftyp", 8));
  for (int i = 0; i < 4 && size >= 8; ++i) content[i] = char(std::uint32_t(size) >> (24 - 8 * i));
  writeFile(dir + (inTrash ? "/.trash/" : "/") + name, content);
  for (const std::string& m : markers) writeFile(dir + "/." + m + "/" + name, "");
}

namespace {

std::vector<std::string> mergedEnvironment(const Env& env) {
  std::map<std::string, std::string> vars;
  for (char** e = environ; *e; ++e) {
    std::string kv(*e);
    auto eq = kv.find('=');
    if (eq != std::string::npos) vars[kv.substr(0, eq)] = kv.substr(eq + 1);
  }
  for (const auto& kv : env) vars[kv.first] = kv.second;
  std::vector<std::string> out;
  for (const auto& kv : vars) out.push_back(kv.first + "=" + kv.second);
  return out;
}

std::vector<char*> cStrings(std::vector<std::string>& strings) {
  std::vector<char*> out;
  for (std::string& s : strings) out.push_back(&s[0]);
  out.push_back(nullptr);
  return out;
}

}  // namespace

RunResult runProgram(const std::vector<std::string>& argv, const std::string& input,
                     const Env& env, int timeoutSeconds) {
  int outPipe[2], errPipe[2], inPipe[2];
  if (pipe2(outPipe, O_CLOEXEC) || pipe2(errPipe, O_CLOEXEC) || pipe2(inPipe, O_CLOEXEC)) {
    throw std::runtime_error("pipe: " + std::string(strerror(errno)));
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, inPipe[0], 0);
  posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
  posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);

  std::vector<std::string> args = argv;
  std::vector<std::string> vars = mergedEnvironment(env);
  std::vector<char*> cargs = cStrings(args);
  std::vector<char*> cvars = cStrings(vars);
  pid_t pid;
  int rc = posix_spawnp(&pid, cargs[0], &actions, nullptr, cargs.data(), cvars.data());
  posix_spawn_file_actions_destroy(&actions);
  close(outPipe[1]);
  close(errPipe[1]);
  close(inPipe[0]);
  if (rc != 0) {
    close(outPipe[0]);
    close(errPipe[0]);
    close(inPipe[1]);
    throw std::runtime_error("spawn " + argv[0] + ": " + strerror(rc));
  }

  // Feed standard input (small in tests) and close it, so the child never waits on it.
  signal(SIGPIPE, SIG_IGN);
  std::size_t written = 0;
  while (written < input.size()) {
    ssize_t n = write(inPipe[1], input.data() + written, input.size() - written);
    if (n <= 0) break;
    written += static_cast<std::size_t>(n);
  }
  close(inPipe[1]);

  RunResult result;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
  struct pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
  int open = 2;
  char buf[65536];
  while (open > 0) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now()).count();
    if (left <= 0) {
      kill(pid, SIGKILL);
      result.timedOut = true;
      break;
    }
    int n = poll(fds, 2, static_cast<int>(left));
    if (n < 0 && errno == EINTR) continue;
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      ssize_t got = read(fds[i].fd, buf, sizeof buf);
      if (got > 0) {
        (i == 0 ? result.out : result.err).append(buf, static_cast<std::size_t>(got));
      } else {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }
  for (auto& f : fds) {
    if (f.fd >= 0) close(f.fd);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) {
    result.status = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.status = 128 + WTERMSIG(status);
  }
  return result;
}

RunResult runArchive(const std::vector<std::string>& args, const Env& env, int timeoutSeconds) {
  std::vector<std::string> argv{ARCHIVE_COMMAND};
  argv.insert(argv.end(), args.begin(), args.end());
  return runProgram(argv, "", env, timeoutSeconds);
}

}  // namespace testing_support
