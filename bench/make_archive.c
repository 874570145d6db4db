/* Makes a large device archive for the benchmark, fast.
 *
 *   make_archive [--distinct] DIR FILES RECORDERS CLIP
 *
 * DIR must not exist. Writes DIR/config.json (recorders "1".."R", archive folders
 * DIR/archive/<id>, given relative to DIR) and FILES recordings spread evenly over the
 * recorders, one a minute per recorder, the newest of each starting at
 * 2026-11-20T23:59:00Z, named cam<id>_<YYYYMMDD>T<HHMMSS>Z[_motion-<n>].<ext of CLIP>.
 * Of them, chosen by a fixed hash of recorder and index: 1% lie in .trash, 2% carry an
 * event id, 1% are locked, 5% downloaded, 0.5% queued for upload (trash included); the
 * newest of each recorder is being recorded. Markers are hard links to one empty file
 * (to one of a few copies of it, as a file takes only so many links).
 *
 * By default every recording is a hard link to one real recording (CLIP, to one of a
 * few copies): a million take seconds and almost no disk, but they share a handful of
 * inodes and pages, so only a warm cache can be measured with them, and they share one
 * modification time, the newest start plus 30 s.
 *
 * With --distinct every recording is a file of its own, laid out as a recorder writes
 * one: CLIP's head (its first 4 KiB: ftyp, the mdat header and the start of the data),
 * a hole, and CLIP's moov (and whatever follows mdat) at 30 MiB, where the mdat size in
 * the head says it begins. Two blocks of disk a file, so reading the headers of a cold
 * archive costs what it costs on a device: a lookup, an inode and two scattered blocks
 * per file. Each has its own modification time, the end of its minute (start + 60 s).
 *
 * Also writes DIR/bench.env, shell assignments for the benchmark: the archive folders,
 * the counts, whether the recordings are distinct, and one UTC day in the middle of the
 * archive, before its newest day (DAY_LO, DAY_HI: first and last second, DAY_NAME: its
 * YYYYMMDD). */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

static void die(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  fprintf(stderr, "make_archive: ");
  vfprintf(stderr, fmt, ap);
  fprintf(stderr, ": %s\n", strerror(errno));
  va_end(ap);
  exit(1);
}

/* snprintf into a path buffer; a path that does not fit is an error, never cut short. */
static void fmtPath(char* buf, size_t size, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  int n = vsnprintf(buf, size, fmt, ap);
  va_end(ap);
  if (n < 0 || (size_t)n >= size) {
    errno = ENAMETOOLONG;
    die("path %s...", buf);
  }
}

static void makeDir(const char* path) {
  if (mkdir(path, 0755) != 0) die("mkdir %s", path);
}

static void copyFile(const char* from, const char* to) {
  int in = open(from, O_RDONLY);
  if (in < 0) die("open %s", from);
  int out = open(to, O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (out < 0) die("create %s", to);
  char buf[1 << 16];
  ssize_t n;
  while ((n = read(in, buf, sizeof buf)) > 0)
    if (write(out, buf, n) != n) die("write %s", to);
  if (n < 0) die("read %s", from);
  close(in);
  close(out);
}

/* Files that many links point to. A file system bounds the links to one inode (ext4:
 * 65,000), so when a copy is full the next link goes to a fresh copy of the original. */
struct LinkPool {
  char original[4096];
  char current[4096];
  int copies;
};

static void newCopy(struct LinkPool* pool) {
  fmtPath(pool->current, sizeof pool->current, "%s.%d", pool->original, pool->copies++);
  copyFile(pool->original, pool->current);
}

static void hardLink(struct LinkPool* pool, const char* path) {
  if (pool->copies == 0) newCopy(pool);
  while (link(pool->current, path) != 0) {
    if (errno != EMLINK) die("link %s", path);
    newCopy(pool);
  }
}

/* Sets the modification time of every copy in the pool. */
static void setTimes(const struct LinkPool* pool, time_t t) {
  struct timespec times[2] = {{.tv_sec = t}, {.tv_sec = t}};
  char path[4096];
  for (int i = 0; i < pool->copies; ++i) {
    fmtPath(path, sizeof path, "%s.%d", pool->original, i);
    if (utimensat(AT_FDCWD, path, times, 0) != 0) die("set times of %s", path);
  }
}

/* Where a distinct recording keeps its moov: a minute of video is megabytes of data. */
#define kMoovAt (30ll << 20)
#define kHeadSize 4096

/* A recording laid out as a recorder writes it: the head at 0 with the mdat size
 * stretched so that the box after mdat begins at kMoovAt, and the rest of the clip (its
 * moov) there. */
struct SparseClip {
  unsigned char head[kHeadSize];
  size_t headLen;
  unsigned char* tail;
  size_t tailLen;
};

static uint64_t readBE(const unsigned char* p, int bytes) {
  uint64_t v = 0;
  for (int i = 0; i < bytes; ++i) v = v << 8 | p[i];
  return v;
}

static void writeBE(unsigned char* p, int bytes, uint64_t v) {
  for (int i = bytes - 1; i >= 0; --i, v >>= 8) p[i] = (unsigned char)v;
}

static void badClip(const char* path, const char* why) {
  fprintf(stderr, "make_archive: %s: %s\n", path, why);
  exit(1);
}

static void loadSparseClip(struct SparseClip* clip, const char* path) {
  int fd = open(path, O_RDONLY);
  struct stat st;
  if (fd < 0 || fstat(fd, &st) != 0) die("open %s", path);
  size_t size = (size_t)st.st_size;
  unsigned char* data = malloc(size ? size : 1);
  if (!data || pread(fd, data, size, 0) != (ssize_t)size) die("read %s", path);
  close(fd);
  /* The top-level boxes up to mdat, which must start in the head. */
  size_t off = 0;
  for (;;) {
    if (off + 8 > size || off + 16 > kHeadSize) badClip(path, "no mdat box in the first 4 KiB");
    uint64_t box = readBE(data + off, 4);
    int sizeBytes = 4, sizeAt = 0; /* where the size is, to stretch it */
    if (box == 1) {
      box = readBE(data + off + 8, 8);
      sizeBytes = 8;
      sizeAt = 8;
    }
    if (box < 8 || off + box > size) badClip(path, "a top-level box runs past the file");
    if (memcmp(data + off + 4, "mdat", 4) == 0) {
      size_t end = off + box;
      if (end >= size) badClip(path, "nothing follows mdat");
      if (end > kMoovAt) badClip(path, "mdat reaches beyond 30 MiB");
      clip->headLen = end < kHeadSize ? end : kHeadSize;
      memcpy(clip->head, data, clip->headLen);
      writeBE(clip->head + off + sizeAt, sizeBytes, (uint64_t)kMoovAt - off);
      clip->tailLen = size - end;
      clip->tail = malloc(clip->tailLen);
      if (!clip->tail) die("memory");
      memcpy(clip->tail, data + end, clip->tailLen);
      free(data);
      return;
    }
    off += box;
  }
}

/* One recording of its own: two writes with a hole between, then its modification time
 * (after the writes, which set it). */
static void writeSparse(const struct SparseClip* clip, const char* path, time_t mtime) {
  int fd = open(path, O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) die("create %s", path);
  if (pwrite(fd, clip->head, clip->headLen, 0) != (ssize_t)clip->headLen ||
      pwrite(fd, clip->tail, clip->tailLen, kMoovAt) != (ssize_t)clip->tailLen)
    die("write %s", path);
  struct timespec times[2] = {{.tv_sec = mtime}, {.tv_sec = mtime}};
  if (futimens(fd, times) != 0) die("set times of %s", path);
  if (close(fd) != 0) die("write %s", path);
}

/* A fixed, well-mixed hash (splitmix64) so the flags spread evenly and every run of the
 * generator makes the same archive. */
static uint64_t mix(uint64_t x) {
  x += 0x9e3779b97f4a7c15ull;
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
  return x ^ (x >> 31);
}

static int chance(uint64_t key, int salt, int perTenThousand) {
  return (int)(mix(key * 8 + (uint64_t)salt) % 10000) < perTenThousand;
}

int main(int argc, char** argv) {
  int distinct = argc > 1 && strcmp(argv[1], "--distinct") == 0;
  argv += distinct;
  argc -= distinct;
  if (argc != 5) {
    fprintf(stderr, "usage: make_archive [--distinct] DIR FILES RECORDERS CLIP\n");
    return 2;
  }
  const char* dir = argv[1];
  long files = atol(argv[2]);
  int recorders = atoi(argv[3]);
  const char* clipPath = argv[4];
  if (files < 1 || recorders < 1 || recorders > 99) {
    fprintf(stderr, "make_archive: need FILES >= 1 and 1 <= RECORDERS <= 99\n");
    return 2;
  }
  const char* ext = strrchr(clipPath, '.');
  ext = ext ? ext + 1 : "mp4";

  char path[4096], target[4096];
  makeDir(dir);
  fmtPath(path, sizeof path, "%s/archive", dir);
  makeDir(path);
  struct LinkPool clip = {.copies = 0}, empty = {.copies = 0};
  static struct SparseClip sparse;
  if (distinct) {
    loadSparseClip(&sparse, clipPath);
  } else {
    fmtPath(clip.original, sizeof clip.original, "%s/clip.%s", dir, ext);
    copyFile(clipPath, clip.original);
  }
  fmtPath(empty.original, sizeof empty.original, "%s/empty", dir);
  int fd = open(empty.original, O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) die("create %s", empty.original);
  close(fd);

  fmtPath(path, sizeof path, "%s/config.json", dir);
  FILE* cfg = fopen(path, "w");
  if (!cfg) die("create %s", path);
  fprintf(cfg, "{\n  \"media\": {\n    \"recorders\": [\n");
  for (int r = 1; r <= recorders; ++r)
    fprintf(cfg,
            "      { \"id\": \"%d\", \"label\": \"Camera %d\", \"archiveDirectory\": "
            "\"archive/%d\" }%s\n",
            r, r, r, r < recorders ? "," : "");
  fprintf(cfg, "    ]\n  }\n}\n");
  fclose(cfg);

  struct tm newestTm = {
      .tm_year = 2026 - 1900, .tm_mon = 10, .tm_mday = 20, .tm_hour = 23, .tm_min = 59};
  const time_t newest = timegm(&newestTm);
  static const char* const kMarkers[] = {"afu", "locked", "downloaded", "recording", "trash"};
  long counts[6] = {0}; /* afu locked downloaded recording trash events */
  long perRecorder = files / recorders;

  for (int r = 1; r <= recorders; ++r) {
    char rdir[4096];
    fmtPath(rdir, sizeof rdir, "%s/archive/%d", dir, r);
    makeDir(rdir);
    for (int k = 0; k < 5; ++k) {
      fmtPath(path, sizeof path, "%s/.%s", rdir, kMarkers[k]);
      makeDir(path);
    }
    long n = perRecorder + (r <= files % recorders ? 1 : 0);
    for (long i = 0; i < n; ++i) {
      time_t start = newest - (time_t)(n - 1 - i) * 60;
      struct tm tm;
      gmtime_r(&start, &tm);
      uint64_t key = (uint64_t)r << 40 | (uint64_t)i;
      int isRecording = i == n - 1;
      int inTrash = !isRecording && chance(key, 1, 100);
      int event = chance(key, 2, 200);
      char name[256], stamp[32];
      strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", &tm);
      if (event)
        snprintf(name, sizeof name, "cam%d_%s_motion-%ld.%s", r, stamp, i, ext);
      else
        snprintf(name, sizeof name, "cam%d_%s.%s", r, stamp, ext);
      fmtPath(path, sizeof path, "%s/%s%s", rdir, inTrash ? ".trash/" : "", name);
      if (distinct)
        writeSparse(&sparse, path, start + 60);
      else
        hardLink(&clip, path);
      int flag[4] = {chance(key, 3, 50), chance(key, 4, 100), chance(key, 5, 500), isRecording};
      for (int k = 0; k < 4; ++k) {
        if (!flag[k]) continue;
        fmtPath(target, sizeof target, "%s/.%s/%s", rdir, kMarkers[k], name);
        hardLink(&empty, target);
        ++counts[k];
      }
      counts[4] += inTrash;
      counts[5] += event;
    }
  }

  if (!distinct) setTimes(&clip, newest + 30);

  /* A whole UTC day in the middle of recorder 1's span, but never the newest day, which
   * holds the shared modification time of linked recordings. */
  long n1 = perRecorder + (files % recorders ? 1 : 0);
  time_t mid = newest - (time_t)(n1 / 2) * 60;
  time_t dayLo = mid - mid % 86400;
  if (dayLo > newest - newest % 86400 - 86400) dayLo = newest - newest % 86400 - 86400;
  struct tm dayTm;
  gmtime_r(&dayLo, &dayTm);
  char dayName[16];
  strftime(dayName, sizeof dayName, "%Y%m%d", &dayTm);

  fmtPath(path, sizeof path, "%s/bench.env", dir);
  FILE* env = fopen(path, "w");
  if (!env) die("create %s", path);
  fprintf(env, "FILES=%ld\nRECORDERS=%d\nDISTINCT=%d\nTRASHED=%ld\nLISTED=%ld\n", files, recorders,
          distinct, counts[4], files - counts[4]);
  fprintf(env, "QUEUED=%ld\nLOCKED=%ld\nDOWNLOADED=%ld\nRECORDING=%ld\nEVENTS=%ld\n", counts[0],
          counts[1], counts[2], counts[3], counts[5]);
  fprintf(env, "DAY_LO=%lld\nDAY_HI=%lld\nDAY_NAME=%s\n", (long long)dayLo,
          (long long)dayLo + 86399, dayName);
  fprintf(env, "DIRS=(");
  for (int r = 1; r <= recorders; ++r)
    fprintf(env, "%s\"%s/archive/%d\"", r > 1 ? " " : "", dir, r);
  fprintf(env, ")\n");
  fclose(env);
  printf(
      "made %s: %ld %srecordings in %d recorders (%ld in trash), %ld queued, %ld locked, "
      "%ld downloaded, %ld recording, %ld with an event id\n",
      dir, files, distinct ? "distinct " : "", recorders, counts[4], counts[0], counts[1],
      counts[2], counts[3], counts[5]);
  return 0;
}
