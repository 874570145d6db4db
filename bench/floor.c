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
 *
 * Files are the regular (or not yet typed) entries whose names do not begin with ".",
 * as in an archive folder. Prints "files N bytes B" so the work is not optimised away;
 * B is the sum of sizes (stat) or of bytes read (read, seq), 0 for getdents. */
#define _GNU_SOURCE
#include <dirent.h>
#include <fcntl.h>
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

enum mode { kGetdents, kStat, kRead, kSeq };

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

static void visit(int dfd, const char* name, enum mode m) {
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
  close(dfd);
  return 0;
}

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: floor getdents|stat|read|seq DIR...\n");
    return 2;
  }
  enum mode m;
  if (strcmp(argv[1], "getdents") == 0) m = kGetdents;
  else if (strcmp(argv[1], "stat") == 0) m = kStat;
  else if (strcmp(argv[1], "read") == 0) m = kRead;
  else if (strcmp(argv[1], "seq") == 0) m = kSeq;
  else {
    fprintf(stderr, "floor: unknown mode '%s'\n", argv[1]);
    return 2;
  }
  int status = 0;
  for (int i = 2; i < argc; ++i) status |= scan(argv[i], m);
  printf("files %lld bytes %lld\n", files, bytes);
  return status;
}
