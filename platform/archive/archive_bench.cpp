// Benchmarks of gathering and browsing large archives: generated folders of 100,000 and
// 1,000,000 empty recordings (hard links of one file), gathered and browsed in the ways
// the tool does. Run: archive_bench [--benchmark_filter=...]; ARCHIVE_BENCH_DIR chooses
// where the folders are made (default $TMPDIR or /tmp); they are reused between runs.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>

#include "archive/archive.h"

namespace {

std::string benchRoot() {
  const char* dir = std::getenv("ARCHIVE_BENCH_DIR");
  if (!dir || !*dir) dir = std::getenv("TMPDIR");
  return std::string(dir && *dir ? dir : "/tmp") + "/archive_bench";
}

// <root>/<count>: `count` recordings, one a minute from 2023-01-01, a few in trash
// and marked; made once (a ".complete" file records that it is whole).
std::string archiveOf(long count) {
  const std::string root = benchRoot(), dir = root + "/" + std::to_string(count);
  if (access((dir + "/.complete").c_str(), F_OK) == 0) return dir;
  mkdir(root.c_str(), 0755);
  mkdir(dir.c_str(), 0755);
  mkdir((dir + "/.locked").c_str(), 0755);
  std::string seed;
  for (long i = 0; i < count; ++i) {
    if (i % 30000 == 0) {  // file systems cap the links of one inode (ext4: 65000)
      seed = dir + "/.seed" + std::to_string(i);
      close(open(seed.c_str(), O_CREAT | O_WRONLY, 0644));
    }
    const long t = i * 60;
    char name[96];
    std::snprintf(name, sizeof name, "/front_2023%02ld%02ldT%02ld%02ld00Z.mp4",
                  1 + (t / 86400 / 28) % 12, 1 + (t / 86400) % 28, (t / 3600) % 24, (t / 60) % 60);
    // Names repeat after a year of minutes; a serial keeps them apart.
    std::snprintf(name + std::strlen(name) - 4, 32, "_%ld.mp4", i);
    link(seed.c_str(), (dir + name).c_str());
    if (i % 100 == 0) link(seed.c_str(), (dir + "/.locked" + name).c_str());
  }
  close(open((dir + "/.complete").c_str(), O_CREAT | O_WRONLY, 0644));
  return dir;
}

void gatherInto(const archive::Archive& archive, std::deque<archive::detail::FileEntry>& entries) {
  entries.clear();
  archive.appendEntries(entries);
}

void BM_Gather(benchmark::State& state) {
  // Made (or found) before timing: the first run makes a million links.
  const std::string dir = archiveOf(state.range(0));
  std::deque<archive::detail::FileEntry> entries;
  for (auto _ : state) {
    archive::Archive fresh("1", "VGA", "", dir, "avi,mov,mp4,ts");
    gatherInto(fresh, entries);
    benchmark::DoNotOptimize(entries.size());
  }
  state.counters["entries"] = double(entries.size());
  std::size_t names = 0;
  for (const auto& e : entries) names += e.nameLength;
  state.counters["bytes/entry"] =
      double(sizeof(archive::detail::FileEntry)) + double(names) / double(entries.size());
}

// Browses already gathered entries; `limit` 0 = all; `stat` makes every handed file
// report its size (the stat is done by the browse either way).
void browseBench(benchmark::State& state, archive::BrowseSortOrder order, unsigned long limit) {
  archive::Archive archive("1", "VGA", "", archiveOf(state.range(0)), "avi,mov,mp4,ts");
  std::deque<archive::detail::FileEntry> entries;
  gatherInto(archive, entries);
  std::int64_t total = 0;
  for (auto _ : state) {
    archive::detail::browseFileEntries(entries, order, 0, limit, archive::BrowseFilter(),
                                       [&](archive::FileInfo& f) {
                                         total += f.getSize();
                                         return true;
                                       });
  }
  benchmark::DoNotOptimize(total);
}

void BM_BrowseSortAll(benchmark::State& state) {
  browseBench(state, archive::BrowseSortOrder::rtime, 0);
}
void BM_BrowseLimit20(benchmark::State& state) {
  browseBench(state, archive::BrowseSortOrder::rtime, 20);
}
void BM_BrowseUnsortedAll(benchmark::State& state) {
  browseBench(state, archive::BrowseSortOrder::none, 0);
}

// Sorting alone, without the stat of every handed file: a filter that passes nothing
// after the sort would skip the sort, so a start past the end is used instead.
void BM_SortOnlyNoStat(benchmark::State& state) {
  archive::Archive archive("1", "VGA", "", archiveOf(state.range(0)), "avi,mov,mp4,ts");
  std::deque<archive::detail::FileEntry> entries;
  gatherInto(archive, entries);
  for (auto _ : state) {
    archive::detail::browseFileEntries(entries, archive::BrowseSortOrder::rtime, entries.size() - 1,
                                       0, archive::BrowseFilter(),
                                       [](archive::FileInfo&) { return true; });
  }
}

// Each at a tenth and at the full million, timed a few times: every run builds or
// browses the whole archive.
void sizes(benchmark::internal::Benchmark* b) {
  b->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_Gather)->Apply(sizes)->Iterations(3);
BENCHMARK(BM_SortOnlyNoStat)->Apply(sizes)->Iterations(3);
BENCHMARK(BM_BrowseLimit20)->Apply(sizes)->Iterations(3);
BENCHMARK(BM_BrowseSortAll)->Apply(sizes)->Iterations(2);
BENCHMARK(BM_BrowseUnsortedAll)->Apply(sizes)->Iterations(2);

}  // namespace

BENCHMARK_MAIN();
