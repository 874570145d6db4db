/* The floor of archive reading: the least a program must do to list folders, with the
 * system calls the tool needs and nothing else, so the tool's cost can be judged against
 * it.
 *
 *   floor getdents DIR...  reads each folder with getdents64 and counts the files
 *   floor stat DIR...      also stats each file (fstatat) and sums the sizes
 *   floor read DIR...      also opens each file and reads its first 4 KiB
 *   floor seq DIR...       what a listing with durations must do, one file after
 *                          another: open, fstat, read the head (4 KiB), a second 4 KiB
 *                          read where the head's top-level MP4 boxes say the index
 *                          (`moov`) lies after the data, as a recorder writes it; close
 *   floor uring DIR...     open, read the head (4 KiB) and close, through io_uring in
 *                          batches of 64 linked operations on direct descriptors: one
 *                          system call a batch, and less work than a listing needs (no
 *                          fstat, no second read), so a floor for any batched design
 *   floor [-d N] pipe DIR... the reads of `seq` without its fstat, pipelined: open, read
 *                          the head, read where the moov lies, close, with N files in
 *                          flight (256 unless -d says) through one io_uring for the
 *                          whole run. Each step of a file is submitted when the
 *                          completion of its previous step arrives, and a file that is
 *                          closed is replaced at once by the next one, with no barrier
 *                          anywhere: the floor of a pipelined reader, and what a cold
 *                          cache needs, where every step waits for the disk
 *
 * A later mode word among the folders (getdents, stat, read or seq) applies to the folders
 * after it, so one run can do what a command does to folders of different roles, e.g.
 * `floor stat A A/.trash getdents A/.afu`: what counting needs.
 *
 * Files are the regular (or not yet typed) entries whose names do not begin with ".",
 * as in an archive folder. Prints "files N bytes B" so the work is not optimised away;
 * B is the sum of sizes (stat) or of bytes read (read, seq, uring, pipe), 0 for getdents;
 * seq and pipe read the same bytes. */
#define _GNU_SOURCE
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <liburing.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

struct linux_dirent64 {
  uint64_t d_ino;
  int64_t d_off;
  unsigned short d_reclen;
  unsigned char d_type;
  char d_name[];
};

enum mode { kGetdents, kStat, kRead, kSeq, kUring, kPipe };

static long long files, bytes;
static char page[4096];

static uint32_t be32(const unsigned char* p) {
  return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3];
}

/* Where the top-level boxes of the head say `moov` begins beyond it, or -1 when it is
 * in the head or the head tells nothing more. SIZE bounds it when known (LLONG_MAX when
 * not: a read past the end then reads nothing). */
static long long moovAfterHead(const unsigned char* head, long n, long long size) {
  long long off = 0;
  while (off + 8 <= n) {
    long long box = be32(head + off);
    if (memcmp(head + off + 4, "moov", 4) == 0) return -1;
    if (box == 1 && off + 16 <= n)
      box = (long long)be32(head + off + 8) << 32 | be32(head + off + 12);
    if (box < 8) return -1;
    off += box;
  }
  return off >= n && off < size ? off : -1;
}

static void readHeader(int dfd, const char* name) {
  int fd = openat(dfd, name, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return;
  struct stat st;
  if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
    ssize_t n = pread(fd, page, sizeof page, 0);
    if (n > 0) {
      bytes += n;
      long long at = moovAfterHead((const unsigned char*)page, n, st.st_size);
      if (at >= 0 && (n = pread(fd, page, sizeof page, at)) > 0) bytes += n;
    }
  }
  close(fd);
}

#define kBatch 64
static struct io_uring ring;
static char heads[kBatch][4096];
static char names[kBatch][256];
static int batched, batchDir = -1;

static void readBatch(void) {
  for (int i = 0; i < batched; ++i) {
    struct io_uring_sqe* sqe = io_uring_get_sqe(&ring);
    io_uring_prep_openat_direct(sqe, batchDir, names[i], O_RDONLY, 0, i);
    sqe->flags |= IOSQE_IO_LINK;
    io_uring_sqe_set_data64(sqe, kBatch);
    sqe = io_uring_get_sqe(&ring);
    io_uring_prep_read(sqe, i, heads[i], sizeof heads[i], 0);
    sqe->flags |= IOSQE_FIXED_FILE | IOSQE_IO_LINK;
    io_uring_sqe_set_data64(sqe, i);
    sqe = io_uring_get_sqe(&ring);
    io_uring_prep_close_direct(sqe, i);
    io_uring_sqe_set_data64(sqe, kBatch);
  }
  unsigned left = 3u * batched;
  io_uring_submit_and_wait(&ring, left);
  while (left > 0) {
    struct io_uring_cqe* cqe;
    if (io_uring_wait_cqe(&ring, &cqe) != 0) break;
    if (cqe->user_data < kBatch && cqe->res > 0) bytes += cqe->res;
    io_uring_cqe_seen(&ring, cqe);
    --left;
  }
  batched = 0;
}

/* The pipelined reader: one slot a file in flight, each a small state machine whose
 * single operation in flight is named by its step. */
enum step { kOpening, kHead, kMoov, kClosing };
struct slot {
  enum step step;
  int fd;
  char name[256];
  char buf[4096];
};
static struct slot* slots;
static int* freeSlots; /* a stack of the indices of idle slots */
static int depth = 256, idle;

/* Prepares STEP of a slot with an open file: a 4 KiB read at AT, or the close. */
static void prepare(struct slot* s, enum step step, long long at) {
  struct io_uring_sqe* sqe = io_uring_get_sqe(&ring);
  s->step = step;
  if (step == kClosing)
    io_uring_prep_close(sqe, s->fd);
  else
    io_uring_prep_read(sqe, s->fd, s->buf, sizeof s->buf, (uint64_t)at);
  io_uring_sqe_set_data64(sqe, (uint64_t)(s - slots));
}

/* The next step of a slot whose step just completed with RES. */
static void advance(struct slot* s, int res) {
  /* A floor that skipped files would look faster than it is: only a file removed since
   * it was listed may be missing. */
  if (res < 0 && !(s->step == kOpening && res == -ENOENT)) {
    fprintf(stderr, "floor: %s: %s\n", s->name, strerror(-res));
    exit(1);
  }
  if (s->step == kOpening) {
    if (res >= 0) {
      s->fd = res;
      prepare(s, kHead, 0);
      return;
    }
  } else if (s->step != kClosing) {
    long long at = -1;
    if (res > 0) bytes += res;
    if (s->step == kHead && res > 0)
      at = moovAfterHead((const unsigned char*)s->buf, res, LLONG_MAX);
    prepare(s, at >= 0 ? kMoov : kClosing, at);
    return;
  }
  /* Closed, or gone since it was listed: the slot takes the next file. */
  freeSlots[idle++] = (int)(s - slots);
}

/* Submits what is prepared, waits for one completion at least and advances every slot
 * whose step completed. */
static void reap(void) {
  int ret;
  while ((ret = io_uring_submit_and_wait(&ring, 1)) == -EINTR) continue;
  if (ret < 0) {
    fprintf(stderr, "floor: io_uring_submit_and_wait: %s\n", strerror(-ret));
    exit(1);
  }
  struct io_uring_cqe* cqe;
  unsigned head, seen = 0;
  io_uring_for_each_cqe(&ring, head, cqe) {
    advance(&slots[cqe->user_data], cqe->res);
    ++seen;
  }
  io_uring_cq_advance(&ring, seen);
}

static void pipeFile(int dfd, const char* name) {
  while (idle == 0) reap();
  struct slot* s = &slots[freeSlots[--idle]];
  snprintf(s->name, sizeof s->name, "%s", name);
  s->step = kOpening;
  struct io_uring_sqe* sqe = io_uring_get_sqe(&ring);
  io_uring_prep_openat(sqe, dfd, s->name, O_RDONLY | O_CLOEXEC, 0);
  io_uring_sqe_set_data64(sqe, (uint64_t)(s - slots));
}

static int startPipe(void) {
  /* A descriptor a file in flight, beside the folders' and the ring's. */
  struct rlimit limit;
  if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  slots = calloc((size_t)depth, sizeof *slots);
  freeSlots = calloc((size_t)depth, sizeof *freeSlots);
  if (!slots || !freeSlots || io_uring_queue_init((unsigned)depth, &ring, 0) != 0) return -1;
  for (idle = 0; idle < depth; ++idle) freeSlots[idle] = depth - 1 - idle;
  return 0;
}

static void drainPipe(void) {
  while (idle < depth) reap();
}

static void visit(int dfd, const char* name, enum mode m) {
  if (m == kPipe) {
    pipeFile(dfd, name);
    return;
  }
  if (m == kUring) {
    if (dfd != batchDir) readBatch();
    batchDir = dfd;
    snprintf(names[batched++], sizeof names[0], "%s", name);
    if (batched == kBatch) readBatch();
    return;
  }
  if (m == kStat) {
    struct stat st;
    if (fstatat(dfd, name, &st, 0) == 0) bytes += st.st_size;
  } else if (m == kRead) {
    int fd = openat(dfd, name, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    ssize_t n = read(fd, page, sizeof page);
    if (n > 0) bytes += n;
    close(fd);
  } else if (m == kSeq) {
    readHeader(dfd, name);
  }
}

static int scan(const char* dir, enum mode m) {
  int dfd = open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd < 0) {
    perror(dir);
    return 1;
  }
  static char buf[1 << 16];
  for (;;) {
    long n = syscall(SYS_getdents64, dfd, buf, sizeof buf);
    if (n < 0) {
      perror(dir);
      close(dfd);
      return 1;
    }
    if (n == 0) break;
    for (long off = 0; off < n;) {
      struct linux_dirent64* e = (struct linux_dirent64*)(buf + off);
      off += e->d_reclen;
      if (e->d_name[0] == '.') continue;
      if (e->d_type != DT_REG && e->d_type != DT_UNKNOWN && e->d_type != DT_LNK) continue;
      ++files;
      visit(dfd, e->d_name, m);
    }
  }
  if (m == kUring) readBatch();
  /* Opens in flight name their folder by this descriptor, so the pipe keeps it to the
   * end of the run: the next folder's files follow with no barrier between. */
  if (m != kPipe) close(dfd);
  return 0;
}

int main(int argc, char** argv) {
  int opt;
  while ((opt = getopt(argc, argv, "+d:")) != -1) {
    char* end;
    long d = opt == 'd' ? strtol(optarg, &end, 10) : 0;
    if (opt != 'd' || *optarg == '\0' || *end != '\0' || d < 1 || d > 4096) {
      fprintf(stderr, "floor: -d takes the files in flight, 1 to 4096\n");
      return 2;
    }
    depth = (int)d;
  }
  argc -= optind - 1;
  argv += optind - 1;
  if (argc < 3) {
    fprintf(stderr, "usage: floor [-d N] getdents|stat|read|seq|uring|pipe DIR...\n");
    return 2;
  }
  static const char* const kModes[] = {"getdents", "stat", "read", "seq", "uring", "pipe"};
  enum mode m = kGetdents;
  while (strcmp(argv[1], kModes[m]) != 0)
    if (++m > kPipe) {
      fprintf(stderr, "floor: unknown mode '%s'\n", argv[1]);
      return 2;
    }
  if ((m == kUring && (io_uring_queue_init(4 * kBatch, &ring, 0) != 0 ||
                       io_uring_register_files_sparse(&ring, kBatch) != 0)) ||
      (m == kPipe && startPipe() != 0)) {
    fprintf(stderr, "floor: io_uring is not offered here\n");
    return 1;
  }
  int status = 0;
  for (int i = 2; i < argc; ++i) {
    enum mode next = kGetdents;
    while (next <= kSeq && strcmp(argv[i], kModes[next]) != 0) ++next;
    if (next <= kSeq && m <= kSeq) {
      m = next;
      continue;
    }
    status |= scan(argv[i], m);
  }
  if (m == kPipe) drainPipe();
  printf("files %lld bytes %lld\n", files, bytes);
  return status;
}
