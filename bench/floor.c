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
 *
 * Files are the regular (or not yet typed) entries whose names do not begin with ".",
 * as in an archive folder. Prints "files N bytes B" so the work is not optimised away;
 * B is the sum of sizes (stat) or of bytes read (read, seq), 0 for getdents. */
#define _GNU_SOURCE
#include <dirent.h>
#include <fcntl.h>
#include <liburing.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
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

enum mode { kGetdents, kStat, kRead, kSeq, kUring };

static long long files, bytes;
static char page[4096];

static uint32_t be32(const unsigned char* p) {
  return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3];
}

/* Where the top-level boxes of the head say `moov` begins beyond it, or -1 when it is
 * in the head or the head tells nothing more. */
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

static void visit(int dfd, const char* name, enum mode m) {
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
  close(dfd);
  return 0;
}

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: floor getdents|stat|read|seq|uring DIR...\n");
    return 2;
  }
  enum mode m;
  if (strcmp(argv[1], "getdents") == 0)
    m = kGetdents;
  else if (strcmp(argv[1], "stat") == 0)
    m = kStat;
  else if (strcmp(argv[1], "read") == 0)
    m = kRead;
  else if (strcmp(argv[1], "seq") == 0)
    m = kSeq;
  else if (strcmp(argv[1], "uring") == 0)
    m = kUring;
  else {
    fprintf(stderr, "floor: unknown mode '%s'\n", argv[1]);
    return 2;
  }
  if (m == kUring && (io_uring_queue_init(4 * kBatch, &ring, 0) != 0 ||
                      io_uring_register_files_sparse(&ring, kBatch) != 0)) {
    fprintf(stderr, "floor: io_uring is not offered here\n");
    return 1;
  }
  int status = 0;
  for (int i = 2; i < argc; ++i) status |= scan(argv[i], m);
  printf("files %lld bytes %lld\n", files, bytes);
  return status;
}
