// The real binary lists and counts archives while a recorder works in them. Whatever the
// interleaving, every run ends with status 0 and a silent standard error, lists no file
// twice, lists every file that was there throughout the run, and nothing that was never
// there; counts lie between the two.
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "test_support.h"

namespace {

using namespace testing_support;

// Paths under the device's root: "c1/x.mp4", "c1/.trash/x.mp4", "c1/.afu/x.mp4". Every
// file name begins with its recorder's folder, so a listed name tells where it lies.
using Keys = std::set<std::string>;

// The marker folders and the place of their flag in the "A" column (R D L T A).
const std::pair<const char*, int> kMarkers[] = {
    {"recording", 0}, {"downloaded", 1}, {"locked", 2}, {"afu", 4}};

// What is on disk, changed only under `lock` together with the disk itself; and, for the
// run under way, what was there throughout it (certain) and at some moment (possible).
struct Disk {
  std::mutex lock;
  Keys now, certain, possible;
  void add(const std::string& key) { now.insert(key), possible.insert(key); }
  void remove(const std::string& key) { now.erase(key), certain.erase(key); }
};

std::string sample(const std::string& name) {
  return readFile(std::string(EXAMPLE_ARCHIVE) + "/" + name);
}

// One step of the recorder, on a pool of six names per recorder: three media files (so
// listings read headers) and three of plain bytes, two of the six without a start token.
void work(const std::string& root, Disk& disk, std::mt19937& rng) {
  static const std::string exts[] = {".mp4", ".avi", ".ts"};
  static const std::string media[] = {sample("1/front_20261118T070000Z.mp4"),
                                      sample("2/cabin_20261118T070000Z.avi"),
                                      sample("1/front_20261119T123000Z.ts")};
  const unsigned i = rng() % 6, op = rng() % 10;
  const std::string dir = "c" + std::to_string(1 + rng() % 3);
  const std::string name = dir + (i < 4 ? "_20240301T15" + std::to_string(i) + "000Z" :
                                          "-cam" + std::to_string(i)) + exts[i % 3];
  const std::string file = dir + "/" + name, trashed = dir + "/.trash/" + name;
  const std::string marker = dir + "/." + kMarkers[rng() % 4].first + "/" + name;
  const std::string recording = dir + "/.recording/" + name;
  const std::string content = i % 2 ? std::string(1000 + rng() % 1000, 'x') : media[i % 3];
  auto at = [&](const std::string& key) { return root + "/" + key; };
  auto has = [&](const std::string& key) { return disk.now.count(key) != 0; };
  auto unlinkKey = [&](const std::string& key) {
    if (has(key)) ::unlink(at(key).c_str()), disk.remove(key);
  };

  std::lock_guard<std::mutex> hold(disk.lock);
  switch (op) {
    case 0:  // a recording starts: its marker, then the file
      if (has(file)) break;
      writeFile(at(recording), ""), disk.add(recording);
      writeFile(at(file), content), disk.add(file);
      break;
    case 1:  // written under a hidden name, then renamed into place
      if (has(file)) break;
      writeFile(at(dir + "/.tmp-" + name), content);
      std::rename(at(dir + "/.tmp-" + name).c_str(), at(file).c_str()), disk.add(file);
      break;
    case 2:
      if (has(file)) std::ofstream(at(file), std::ios::app) << std::string(4096, 'y');
      break;
    case 3:  // the recording ends
      unlinkKey(recording);
      break;
    case 4:
    case 5:
      if (!has(marker)) writeFile(at(marker), ""), disk.add(marker);
      break;
    case 6:
      unlinkKey(marker);
      break;
    case 7:
      unlinkKey(file);
      break;
    case 8:  // to the trash
      if (!has(file) || has(trashed)) break;
      makeDirs(at(dir + "/.trash"));
      std::rename(at(file).c_str(), at(trashed).c_str());
      disk.remove(file), disk.add(trashed);
      break;
    default:  // purged from the trash
      unlinkKey(trashed);
  }
}

// The recorder at work from construction to destruction, with a fixed seed.
class LiveRecorder {
 public:
  LiveRecorder(const std::string& root, Disk& disk)
      : thread_([this, root, &disk] {
          std::mt19937 rng(9);
          while (!stop_) work(root, disk, rng), ::usleep(200);
        }) {}
  ~LiveRecorder() { stop_ = true, thread_.join(); }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

// A listed file: its key and its five flag characters.
using Listed = std::vector<std::pair<std::string, std::string>>;

Listed parseText(const std::string& out) {
  Listed listed;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    const std::string flags = line.substr(0, 5), name = line.substr(line.rfind('\t') + 1);
    listed.emplace_back(name.substr(0, 2) + (flags[3] == 'T' ? "/.trash/" : "/") + name, flags);
  }
  return listed;
}

Listed parseJson(const std::string& out) {
  Listed listed;
  for (const nlohmann::json& f : nlohmann::json::parse(out)) {
    const std::string name = f.at("filename");
    std::string flags;
    for (const char* k : {"recording", "downloaded", "locked", "deleted", "afu_queue"})
      flags += f.at(k).get<bool>() ? "x" : "-";
    listed.emplace_back(name.substr(0, 2) + (flags[3] != '-' ? "/.trash/" : "/") + name, flags);
  }
  return listed;
}

bool isMarker(const std::string& key) { return key[3] == '.' && key.compare(3, 7, ".trash/"); }

// The recordings of `keys` in the archive proper, the trash, or both; with `afu` only
// those whose AFU marker is in `keys` too.
Keys view(const Keys& keys, bool proper, bool trash, bool afu) {
  Keys out;
  for (const std::string& key : keys) {
    const bool inTrash = key.compare(3, 7, ".trash/") == 0;
    const std::string afuMarker = key.substr(0, 3) + ".afu" + key.substr(key.rfind('/'));
    if (!isMarker(key) && (inTrash ? trash : proper) && (!afu || keys.count(afuMarker)))
      out.insert(key);
  }
  return out;
}

TEST(LiveRecorderTest, ListingsAndCountsHoldWhileTheRecorderWorks) {
  TempDir tmp;
  Disk disk;
  // Never touched by the recorder: two recorders' earlier files; c3 does not exist yet.
  for (const char* key : {"c1/c1_20240301T120000Z.mp4", "c1/c1-still.avi", "c1/.afu/c1-still.avi",
                          "c1/.trash/c1_20240301T121000Z.ts", "c1/.afu/c1_20240301T121000Z.ts",
                          "c2/c2_20240301T120000Z.avi", "c2/.locked/c2_20240301T120000Z.avi",
                          "c2/.afu/c2_20240301T120000Z.avi"}) {
    const bool mp4 = std::string(key).find(".mp4") != std::string::npos;
    writeFile(tmp / key, isMarker(key) ? "" : mp4 ? sample("1/front_20261118T070000Z.mp4") :
                                                    std::string(500, 'z'));
    disk.add(key);
  }
  writeDeviceConfig(tmp / "config.json", {{"1", "One", tmp / "c1"}, {"2", "Two", tmp / "c2"},
                                          {"3", "Three", tmp / "c3"}});
  const Env env{{"DEVICE_CONFIG", tmp / "config.json"}};

  const LiveRecorder recorder(tmp.path(), disk);

  const std::vector<std::vector<std::string>> runs = {
      {"ls", "all"}, {"ls", "--json", "all"}, {"stat", "all"}, {"ls", "--afu", "all"},
      {"ls", "--trash", "all"}};
  for (int round = 0; round < 40; ++round) {
    for (const std::vector<std::string>& args : runs) {
      {
        std::lock_guard<std::mutex> hold(disk.lock);
        disk.certain = disk.possible = disk.now;
      }
      const RunResult got = runArchive(args, env);
      Keys certain, possible;
      {
        std::lock_guard<std::mutex> hold(disk.lock);
        certain = disk.certain, possible = disk.possible;
      }
      const std::string what = args[0] + " " + args[1] + " in round " + std::to_string(round);
      ASSERT_EQ(0, got.status) << what << ": " << got.err;
      ASSERT_EQ("", got.err) << what;
      const bool afu = args[1] == "--afu", trash = args[1] == "--trash";
      if (args[0] == "stat") {
        std::size_t files = 0, afuFiles = 0;
        ASSERT_EQ(2, std::sscanf(got.out.c_str(), "%zu%*s%zu", &files, &afuFiles)) << got.out;
        EXPECT_LE(view(certain, true, false, false).size(), files) << what;
        EXPECT_GE(view(possible, true, false, false).size(), files) << what;
        EXPECT_LE(view(certain, true, false, true).size(), afuFiles) << what;
        EXPECT_GE(view(possible, true, false, true).size(), afuFiles) << what;
        continue;
      }
      Listed listed;
      ASSERT_NO_THROW(listed = args[1] == "--json" ? parseJson(got.out) : parseText(got.out))
          << what << ": " << got.out;
      Keys seen;
      const Keys allowed = view(possible, !trash, trash || afu, afu);
      for (const auto& [key, flags] : listed) {
        EXPECT_TRUE(seen.insert(key).second) << what << ": twice " << key;
        EXPECT_TRUE(allowed.count(key)) << what << ": never there " << key;
        // A flag set throughout shows; one never set does not.
        for (const auto& [marker, place] : kMarkers) {
          const std::string markerKey =
              key.substr(0, 3) + "." + marker + key.substr(key.rfind('/'));
          if (certain.count(markerKey)) {
            EXPECT_NE('-', flags[place]) << what << ": " << key << " " << marker;
          }
          if (!possible.count(markerKey)) {
            EXPECT_EQ('-', flags[place]) << what << ": " << key << " " << marker;
          }
        }
      }
      for (const std::string& key : view(certain, !trash, trash || afu, afu))
        EXPECT_TRUE(seen.count(key)) << what << ": missing " << key;
    }
  }
}

}  // namespace
