// A read-only FUSE passthrough that fails one chosen operation of one chosen path, for
// the tests of what the tool does on a failing card.
//
//   faultfs SOURCE MOUNTPOINT LOG [PATH OP ACTION [ARG]]
//
// PATH is relative to SOURCE with a leading "/"; the fault, OP ACTION [ARG]:
//   getattr EIO            stat (and so lookup) fails
//   getattr grow|shrink N  the size reported is N bytes less|more than the file's
//   open EIO|ENOENT        open fails
//   readdir EIO            reading the folder fails
//   read EIO OFFSET        a read that reaches OFFSET or beyond fails
//   read short N           each read returns at most N bytes
//   read sleep MS          the read at offset 0 waits MS milliseconds first
// Each time the fault fires it appends "PATH OP ACTION" to LOG, so a test can tell that
// it did, and how often. Files are opened for direct I/O: each read of the tool reaches
// this program as it was made, with no page cache or read-ahead between; attributes are
// never cached. Runs multithreaded, so that parallel reads reach it at once.
#define FUSE_USE_VERSION 31
#define _GNU_SOURCE
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <fuse.h>
#include <limits.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

static const char *faultPath = "", *faultOp = "", *faultAction = "";
static long long faultArg;
static char source[PATH_MAX];
static FILE* logFile;
static pthread_mutex_t logLock = PTHREAD_MUTEX_INITIALIZER;

// Whether OP on PATH is the fault's, ACTION too when given; logged as fired when so.
static int fires(const char* path, const char* op, const char* action) {
  if (strcmp(path, faultPath) != 0 || strcmp(op, faultOp) != 0) return 0;
  if (action && strcmp(action, faultAction) != 0) return 0;
  pthread_mutex_lock(&logLock);
  fprintf(logFile, "%s %s %s\n", faultPath, faultOp, faultAction);
  fflush(logFile);
  pthread_mutex_unlock(&logLock);
  return 1;
}

static int errorOf(const char* action) { return strcmp(action, "ENOENT") == 0 ? -ENOENT : -EIO; }

static const char* real(char* out, const char* path) {
  snprintf(out, PATH_MAX, "%s%s", source, path);
  return out;
}

static void* init(struct fuse_conn_info* conn, struct fuse_config* cfg) {
  (void)conn;
  cfg->entry_timeout = cfg->attr_timeout = cfg->negative_timeout = 0;
  cfg->use_ino = 1;
  return NULL;
}

static int getattrOp(const char* path, struct stat* st, struct fuse_file_info* fi) {
  (void)fi;
  char p[PATH_MAX];
  if (lstat(real(p, path), st) != 0) return -errno;
  if (!fires(path, "getattr", NULL)) return 0;
  if (strcmp(faultAction, "grow") == 0)
    st->st_size = st->st_size > faultArg ? st->st_size - faultArg : 0;
  else if (strcmp(faultAction, "shrink") == 0)
    st->st_size += faultArg;
  else
    return errorOf(faultAction);
  return 0;
}

static int readdirOp(const char* path, void* buf, fuse_fill_dir_t fill, off_t offset,
                     struct fuse_file_info* fi, enum fuse_readdir_flags flags) {
  (void)offset, (void)fi, (void)flags;
  char p[PATH_MAX];
  if (fires(path, "readdir", NULL)) return errorOf(faultAction);
  DIR* dir = opendir(real(p, path));
  if (!dir) return -errno;
  for (struct dirent* d; (d = readdir(dir)) != NULL;) {
    struct stat st = {.st_ino = d->d_ino, .st_mode = (mode_t)DTTOIF(d->d_type)};
    if (fill(buf, d->d_name, &st, 0, 0)) break;
  }
  closedir(dir);
  return 0;
}

static int openOp(const char* path, struct fuse_file_info* fi) {
  char p[PATH_MAX];
  if (fires(path, "open", NULL)) return errorOf(faultAction);
  const int fd = open(real(p, path), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -errno;
  fi->fh = (uint64_t)fd;
  fi->direct_io = 1;
  return 0;
}

static int readOp(const char* path, char* buf, size_t size, off_t offset,
                  struct fuse_file_info* fi) {
  if (offset + (off_t)size > faultArg && fires(path, "read", "EIO")) return -EIO;
  if (fires(path, "read", "short") && size > (size_t)faultArg) size = (size_t)faultArg;
  if (offset == 0 && fires(path, "read", "sleep")) {
    const struct timespec pause = {faultArg / 1000, (faultArg % 1000) * 1000000};
    nanosleep(&pause, NULL);
  }
  const ssize_t n = pread((int)fi->fh, buf, size, offset);
  return n < 0 ? -errno : (int)n;
}

static int releaseOp(const char* path, struct fuse_file_info* fi) {
  (void)path;
  close((int)fi->fh);
  return 0;
}

static const struct fuse_operations operations = {
    .init = init,
    .getattr = getattrOp,
    .readdir = readdirOp,
    .open = openOp,
    .read = readOp,
    .release = releaseOp,
};

int main(int argc, char* argv[]) {
  if (argc != 4 && argc != 7 && argc != 8) {
    fprintf(stderr, "usage: faultfs SOURCE MOUNTPOINT LOG [PATH OP ACTION [ARG]]\n");
    return 2;
  }
  if (!realpath(argv[1], source)) return perror(argv[1]), 2;
  if (!(logFile = fopen(argv[3], "a"))) return perror(argv[3]), 2;
  if (argc > 4) faultPath = argv[4], faultOp = argv[5], faultAction = argv[6];
  if (argc > 7) faultArg = atoll(argv[7]);
  // FUSE sees the program, the mount point and read-only: the server goes to the
  // background once mounted, so the caller may use the mount as soon as this returns.
  char* fuseArgv[] = {argv[0], argv[2], "-oro,fsname=faultfs", NULL};
  return fuse_main(3, fuseArgv, &operations, NULL);
}
