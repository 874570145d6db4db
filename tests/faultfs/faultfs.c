/* A read-only FUSE passthrough that fails chosen operations of chosen files, for the
 * tests of what the tool does on a failing card.
 *
 *   faultfs SOURCE MOUNTPOINT RULES LOG [FUSE options...]
 *
 * RULES holds one fault a line, "PATH OP ACTION [ARG]", PATH relative to SOURCE with a
 * leading "/":
 *   PATH getattr EIO            stat (and so lookup) fails
 *   PATH open EIO|ENOENT        open fails
 *   PATH readdir EIO            reading the folder fails
 *   PATH read EIO OFFSET        a read that reaches OFFSET or beyond fails
 *   PATH read short N           each read returns at most N bytes
 *   PATH read sleep MS          the read at offset 0 waits MS milliseconds first
 *   PATH getattr grow|shrink N  the size reported is N bytes less|more than the file's
 * Each fault that fires appends "PATH OP ACTION" to LOG, so a test can tell that it did.
 * Files are opened for direct I/O: each read of the tool reaches this program as it was
 * made, with no page cache or read-ahead between; attributes are never cached. Runs
 * multithreaded (unless FUSE's -s is given), so that parallel reads reach it at once. */
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

enum { kMaxRules = 64 };

struct rule {
  char path[PATH_MAX];
  char op[16];
  char action[16];
  long long arg;
};

static struct rule rules[kMaxRules];
static int ruleCount;
static char source[PATH_MAX];
static FILE* logFile;
static pthread_mutex_t logLock = PTHREAD_MUTEX_INITIALIZER;

/* The first rule for PATH and OP, or NULL. */
static const struct rule* ruleFor(const char* path, const char* op) {
  for (int i = 0; i < ruleCount; ++i)
    if (strcmp(rules[i].path, path) == 0 && strcmp(rules[i].op, op) == 0) return &rules[i];
  return NULL;
}

static void fired(const struct rule* r) {
  pthread_mutex_lock(&logLock);
  fprintf(logFile, "%s %s %s\n", r->path, r->op, r->action);
  fflush(logFile);
  pthread_mutex_unlock(&logLock);
}

static int errorOf(const char* action) {
  if (strcmp(action, "ENOENT") == 0) return ENOENT;
  return EIO;
}

static void real(char* out, const char* path) { snprintf(out, PATH_MAX, "%s%s", source, path); }

/* The error an OP on PATH fails with by a rule (the fault then fired), or 0; else `out`
 * is the path in SOURCE. */
static int failOrReal(const char* path, const char* op, char* out) {
  const struct rule* r = ruleFor(path, op);
  if (r) {
    fired(r);
    return -errorOf(r->action);
  }
  real(out, path);
  return 0;
}

static void* init(struct fuse_conn_info* conn, struct fuse_config* cfg) {
  (void)conn;
  cfg->entry_timeout = 0;
  cfg->attr_timeout = 0;
  cfg->negative_timeout = 0;
  cfg->use_ino = 1;
  return NULL;
}

static int getattr(const char* path, struct stat* st, struct fuse_file_info* fi) {
  (void)fi;
  char p[PATH_MAX];
  real(p, path);
  if (lstat(p, st) != 0) return -errno;
  const struct rule* r = ruleFor(path, "getattr");
  if (r) {
    fired(r);
    if (strcmp(r->action, "grow") == 0) {
      st->st_size = st->st_size > r->arg ? st->st_size - r->arg : 0;
    } else if (strcmp(r->action, "shrink") == 0) {
      st->st_size += r->arg;
    } else {
      return -errorOf(r->action);
    }
  }
  return 0;
}

static int readlinkOp(const char* path, char* buf, size_t size) {
  char p[PATH_MAX];
  real(p, path);
  const ssize_t n = readlink(p, buf, size - 1);
  if (n < 0) return -errno;
  buf[n] = '\0';
  return 0;
}

static int readdirOp(const char* path, void* buf, fuse_fill_dir_t fill, off_t offset,
                     struct fuse_file_info* fi, enum fuse_readdir_flags flags) {
  (void)offset, (void)fi, (void)flags;
  char p[PATH_MAX];
  const int failed = failOrReal(path, "readdir", p);
  if (failed) return failed;
  DIR* dir = opendir(p);
  if (!dir) return -errno;
  struct dirent* d;
  while ((d = readdir(dir)) != NULL) {
    struct stat st;
    memset(&st, 0, sizeof st);
    st.st_ino = d->d_ino;
    st.st_mode = (mode_t)DTTOIF(d->d_type);
    if (fill(buf, d->d_name, &st, 0, 0)) break;
  }
  closedir(dir);
  return 0;
}

static int openOp(const char* path, struct fuse_file_info* fi) {
  char p[PATH_MAX];
  const int failed = failOrReal(path, "open", p);
  if (failed) return failed;
  const int fd = open(p, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -errno;
  fi->fh = (uint64_t)fd;
  fi->direct_io = 1;
  return 0;
}

static int readOp(const char* path, char* buf, size_t size, off_t offset,
                  struct fuse_file_info* fi) {
  const struct rule* r = ruleFor(path, "read");
  if (r) {
    if (strcmp(r->action, "EIO") == 0) {
      if (offset + (off_t)size > r->arg) {
        fired(r);
        return -EIO;
      }
    } else if (strcmp(r->action, "short") == 0) {
      fired(r);
      if (size > (size_t)r->arg) size = (size_t)r->arg;
    } else if (strcmp(r->action, "sleep") == 0 && offset == 0) {
      fired(r);
      const struct timespec pause = {r->arg / 1000, (r->arg % 1000) * 1000000};
      nanosleep(&pause, NULL);
    }
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
    .getattr = getattr,
    .readlink = readlinkOp,
    .readdir = readdirOp,
    .open = openOp,
    .read = readOp,
    .release = releaseOp,
};

static void loadRules(const char* file) {
  FILE* f = fopen(file, "r");
  if (!f) {
    perror(file);
    exit(2);
  }
  char line[PATH_MAX + 64];
  while (fgets(line, sizeof line, f) && ruleCount < kMaxRules) {
    struct rule* r = &rules[ruleCount];
    r->arg = 0;
    if (sscanf(line, "%4095s %15s %15s %lld", r->path, r->op, r->action, &r->arg) >= 3) ++ruleCount;
  }
  fclose(f);
}

int main(int argc, char* argv[]) {
  if (argc < 5) {
    fprintf(stderr, "usage: faultfs SOURCE MOUNTPOINT RULES LOG [FUSE options...]\n");
    return 2;
  }
  if (!realpath(argv[1], source)) {
    perror(argv[1]);
    return 2;
  }
  loadRules(argv[3]);
  logFile = fopen(argv[4], "a");
  if (!logFile) {
    perror(argv[4]);
    return 2;
  }
  /* FUSE sees: the program, the mount point, -f (stay in the foreground, for the test
   * that started it to stop), read-only, and what the caller adds. */
  char* fuseArgv[64];
  int n = 0;
  fuseArgv[n++] = argv[0];
  fuseArgv[n++] = argv[2];
  fuseArgv[n++] = "-f";
  fuseArgv[n++] = "-oro,fsname=faultfs";
  for (int i = 5; i < argc && n < 63; ++i) fuseArgv[n++] = argv[i];
  fuseArgv[n] = NULL;
  return fuse_main(n, fuseArgv, &operations, NULL);
}
