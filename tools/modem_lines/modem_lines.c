/* Gives pseudo-terminals the modem lines DTR and RTS that the system does not give them.
 *
 * A serial client under 32-bit Wine sets the lines of its port by the TIOCM* requests of ioctl; on
 * a pseudo-terminal those fail. Preloaded into the client, this library answers them for /dev/pts/N
 * when the folder named by QMZ_MODEM_LINES holds a file pts-N. The virtual box makes that file and
 * reads its supply line from it: each setting of the lines appends one record, the last is the
 * state, an empty file means both lines off. Closing the port drops both, as hardware does.
 *
 * Self-contained on purpose: 32-bit headers are not installed on a 64-bit build machine, and the
 * process that loads the library brings its own C library. */
#include <stdarg.h>
#include <stddef.h>

/* As the 32-bit C library has it. */
struct Timespec {
  long seconds;
  long nanoseconds;
};

extern void* dlsym(void* handle, const char* name);
extern char* getenv(const char* name);
extern int open(const char* path, int flags, ...);
extern long lseek(int file, long offset, int origin);
extern int read(int file, void* buffer, size_t size);
extern int write(int file, const void* buffer, size_t size);
extern int readlink(const char* path, char* buffer, size_t size);
extern int clock_gettime(int clock, struct Timespec* time);
extern int snprintf(char* buffer, size_t size, const char* format, ...);
extern int strncmp(const char* left, const char* right, size_t size);
extern size_t strlen(const char* text);

/* Values of the 32-bit Linux interface. */
enum {
  kTiocmGet = 0x5415,
  kTiocmBis = 0x5416, /* switch the named lines on */
  kTiocmBic = 0x5417, /* switch the named lines off */
  kTiocmSet = 0x5418, /* all lines as named */
  kLineDtr = 2,
  kLineRts = 4,
  kOpenReadWrite = 2,
  kOpenAppend = 02000,
  kOpenCloseOnExec = 02000000,
  kSeekEnd = 2,
  kClockMonotonic = 1,
  kMaxPath = 512
};
#define NEXT_LIBRARY ((void*)-1L)

/* "1 0 0000081236.412000123\n": DTR, RTS, seconds of CLOCK_MONOTONIC. All records have one length,
 * so that the last one is found from the end of the file. */
enum { kRecordLength = 25 };

static const char kTerminalFolder[] = "/dev/pts/";

static int CloseFile(int file) {
  static int (*next)(int);
  if (next == NULL) next = (int (*)(int))dlsym(NEXT_LIBRARY, "close");
  return next(file);
}

/* The line file of the terminal that `port` is, open; -1 when `port` is no such terminal. */
static int OpenLineFile(int port) {
  const char* const folder = getenv("QMZ_MODEM_LINES");
  if (folder == NULL) return -1;

  char path[kMaxPath];
  char terminal[64];
  snprintf(path, sizeof path, "/proc/self/fd/%d", port);
  const int length = readlink(path, terminal, sizeof terminal - 1);
  if (length < 0) return -1;
  terminal[length] = '\0';
  if (strncmp(terminal, kTerminalFolder, strlen(kTerminalFolder)) != 0) return -1;

  const char* const number = terminal + strlen(kTerminalFolder);
  const int path_length = snprintf(path, sizeof path, "%s/pts-%s", folder, number);
  if (path_length < 0 || path_length >= kMaxPath) return -1;
  return open(path, kOpenReadWrite | kOpenAppend | kOpenCloseOnExec);
}

static unsigned ReadLines(int file) {
  char record[kRecordLength];
  if (lseek(file, -kRecordLength, kSeekEnd) < 0) return 0;
  if (read(file, record, sizeof record) != kRecordLength) return 0;
  return (record[0] == '1' ? kLineDtr : 0U) | (record[2] == '1' ? kLineRts : 0U);
}

/* One write of a whole record: the box never reads half a state. */
static int AppendLines(int file, unsigned lines) {
  char record[kRecordLength + 8];
  struct Timespec now;
  clock_gettime(kClockMonotonic, &now);
  const int length =
      snprintf(record, sizeof record, "%d %d %010ld.%09ld\n", (lines & kLineDtr) != 0,
               (lines & kLineRts) != 0, now.seconds, now.nanoseconds);
  return length == kRecordLength && write(file, record, kRecordLength) == kRecordLength;
}

/* True when the request was one for modem lines and has been answered here. */
static int AnswerLineRequest(int port, unsigned long request, unsigned* argument) {
  if (request < kTiocmGet || request > kTiocmSet) return 0;
  const int file = OpenLineFile(port);
  if (file < 0) return 0;

  int answered = 1;
  const unsigned lines = ReadLines(file);
  switch (request) {
    case kTiocmGet:
      *argument = lines;
      break;
    case kTiocmBis:
      answered = AppendLines(file, lines | *argument);
      break;
    case kTiocmBic:
      answered = AppendLines(file, lines & ~*argument);
      break;
    case kTiocmSet:
      answered = AppendLines(file, *argument);
      break;
  }
  CloseFile(file);
  return answered;
}

static void DropLines(int port) {
  const int file = OpenLineFile(port);
  if (file < 0) return;
  if (ReadLines(file) != 0) AppendLines(file, 0);
  CloseFile(file);
}

/* Wine holds one descriptor for each open port, and closes it when the client closes the port. */
int close(int file) {
  DropLines(file);
  return CloseFile(file);
}

/* A 32-bit program calls one or the other, depending on the width of its time type. */
#define WRAP_IOCTL(name)                                                                   \
  int name(int port, unsigned long request, ...) {                                         \
    static int (*next)(int, unsigned long, ...);                                           \
    va_list arguments;                                                                     \
    va_start(arguments, request);                                                          \
    void* const argument = va_arg(arguments, void*);                                       \
    va_end(arguments);                                                                     \
    if (AnswerLineRequest(port, request, argument)) return 0;                              \
    if (next == NULL) next = (int (*)(int, unsigned long, ...))dlsym(NEXT_LIBRARY, #name); \
    return next(port, request, argument);                                                  \
  }

WRAP_IOCTL(ioctl)
WRAP_IOCTL(__ioctl_time64)
