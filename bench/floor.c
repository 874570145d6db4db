/* The floor of archive reading: the least a program must do to list folders, with the
 * system calls the tool needs and nothing else, so the tool's cost can be judged against
 * it.
 *
 *   floor getdents DIR...  reads each folder with getdents64 and counts the files
 *   floor stat DIR...      also stats each file (fstatat) and sums the sizes
 *   floor read DIR...      also opens each file and reads its first 4 KiB
 *
 * Files are the regular (or not yet typed) entries whose names do not begin with ".",
 * as in an archive folder. Prints "files N bytes B" so the work is not optimised away;
 * B is the sum of sizes (stat) or of bytes read (read), 0 for getdents. */
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

enum mode { kGetdents, kStat, kRead };

static long long files, bytes;
static char page[4096];

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
    fprintf(stderr, "usage: floor getdents|stat|read DIR...\n");
    return 2;
  }
  enum mode m;
  if (strcmp(argv[1], "getdents") == 0) m = kGetdents;
  else if (strcmp(argv[1], "stat") == 0) m = kStat;
  else if (strcmp(argv[1], "read") == 0) m = kRead;
  else {
    fprintf(stderr, "floor: unknown mode '%s'\n", argv[1]);
    return 2;
  }
  int status = 0;
  for (int i = 2; i < argc; ++i) status |= scan(argv[i], m);
  printf("files %lld bytes %lld\n", files, bytes);
  return status;
}
