#include "tests/faults/fault_shim.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// System calls are made directly, so that nothing here needs an allocation or can call itself.

namespace {

constexpr int kMostDescriptors = 4096;
constexpr std::size_t kPathSize = 512;

Fault armed_fault;
std::atomic<bool> is_armed{false};
std::atomic<long> calls{0};
std::atomic<long> failures{0};

// What a program was told in its environment; empty in a test.
char watched_directory[kPathSize];
char report_path[kPathSize];
std::atomic<bool> directory_was_used{false};
std::atomic<bool> is_watched[kMostDescriptors];

void write_report() {
  if (report_path[0] == '\0') return;
  const long file = syscall(SYS_openat, AT_FDCWD, report_path, O_WRONLY | O_CREAT, 0600);
  if (file >= 0) syscall(SYS_close, file);
}

/// Counts a call; true when it is to fail.
bool fails(FaultKind kind) {
  if (!is_armed.load() || armed_fault.kind != kind) return false;
  const long number = ++calls;
  if (number < armed_fault.nth || (number > armed_fault.nth && !armed_fault.lasting)) return false;
  if (++failures == 1) write_report();
  errno = kind == kFaultAllocation ? ENOMEM : armed_fault.error;
  return true;
}

bool watches_all() { return watched_directory[0] == '\0'; }

bool concerns_path(const char* path) {
  if (watches_all()) return true;
  const bool is_below =
      path != nullptr && strncmp(path, watched_directory, strlen(watched_directory)) == 0;
  if (is_below) directory_was_used = true;
  return is_below;
}

bool concerns_descriptor(int descriptor) {
  return watches_all() ||
         (descriptor >= 0 && descriptor < kMostDescriptors && is_watched[descriptor]);
}

/// Remembers a descriptor that was opened below the directory.
int watch(int descriptor, bool concerned) {
  if (descriptor >= 0 && descriptor < kMostDescriptors) is_watched[descriptor] = concerned;
  return descriptor;
}

/// The C library's own function. Looked up when it is first wanted: other objects are initialised
/// before this one, and open files.
template <typename Function>
Function* look_up(Function*& known, const char* name) {
  if (known == nullptr) known = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
  if (known == nullptr) abort();
  return known;
}

FILE* (*known_fopen)(const char*, const char*);
FILE* (*known_fdopen)(int, const char*);
int (*known_fclose)(FILE*);
int (*known_getc)(FILE*);
DIR* (*known_opendir)(const char*);
DIR* (*known_fdopendir)(int);
dirent* (*known_readdir)(DIR*);

int open_at(int directory, const char* path, int flags, unsigned mode) {
  const bool concerned = concerns_path(path);
  if (concerned && fails(kFaultOpen)) return -1;
  return watch(static_cast<int>(syscall(SYS_openat, directory, path, flags, mode)), concerned);
}

unsigned mode_of(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned) : 0;
}

/// How much of a write is to be written: all of it, half of it, or nothing (-1).
ssize_t allowed(int descriptor, std::size_t size) {
  if (!concerns_descriptor(descriptor)) return static_cast<ssize_t>(size);
  if (fails(kFaultWrite)) return -1;
  if (size > 1 && fails(kFaultShortWrite)) return static_cast<ssize_t>(size / 2);
  return static_cast<ssize_t>(size);
}

DIR* watch_folder(DIR* folder, bool concerned) {
  if (folder != nullptr) watch(dirfd(folder), concerned);
  return folder;
}

FILE* open_stream(const char* path, const char* mode) {
  const bool concerned = concerns_path(path);
  if (concerned && fails(kFaultOpen)) return nullptr;
  FILE* const stream = look_up(known_fopen, "fopen")(path, mode);
  if (stream != nullptr) watch(fileno(stream), concerned);
  return stream;
}

dirent* read_folder(DIR* folder) {
  if (concerns_descriptor(dirfd(folder)) && fails(kFaultReadFolder)) return nullptr;
  return look_up(known_readdir, "readdir")(folder);
}

/// A character of a stream; a fault strikes when its buffer is to be filled.
int read_character(FILE* stream) {
  const bool fills_buffer = stream->_IO_read_ptr >= stream->_IO_read_end;
  if (fills_buffer && concerns_descriptor(fileno(stream)) && fails(kFaultRead)) {
    constexpr int kErrorSeen = 0x20;
    stream->_flags |= kErrorSeen;
    return EOF;
  }
  return look_up(known_getc, "getc")(stream);
}

bool fails_to_allocate() {
  return (watches_all() || directory_was_used) && fails(kFaultAllocation);
}

void copy_word(char* target, const char*& text) {
  while (*text == ' ') ++text;
  std::size_t length = 0;
  for (; *text != '\0' && *text != ' ' && length + 1 < kPathSize; ++text) target[length++] = *text;
  target[length] = '\0';
}

/// Arms the fault that the environment tells.
__attribute__((constructor)) void take_fault_from_environment() {
  const char* text = getenv("FAULT_SHIM");
  if (text == nullptr) return;
  long numbers[4] = {};
  for (long& number : numbers) {
    char* end = nullptr;
    number = strtol(text, &end, 10);
    text = end;
  }
  copy_word(report_path, text);
  copy_word(watched_directory, text);
  const Fault fault{static_cast<FaultKind>(numbers[0]), numbers[1], static_cast<int>(numbers[2]),
                    numbers[3] != 0};
  fault_shim_arm(&fault);
}

}  // namespace

extern "C" {

void fault_shim_arm(const Fault* fault) {
  armed_fault = *fault;
  calls = 0;
  failures = 0;
  is_armed = true;
}

long fault_shim_disarm() {
  is_armed = false;
  return failures;
}

long fault_shim_calls() { return calls; }

// --- Files --------------------------------------------------------------------------------------

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = mode_of(flags, arguments);
  va_end(arguments);
  return open_at(AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = mode_of(flags, arguments);
  va_end(arguments);
  return open_at(AT_FDCWD, path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = mode_of(flags, arguments);
  va_end(arguments);
  return open_at(directory, path, flags, mode);
}

int openat64(int directory, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = mode_of(flags, arguments);
  va_end(arguments);
  return open_at(directory, path, flags, mode);
}

// What hardened builds call in the place of `open` with flags that are known at run time only.
int __open_2(const char* path, int flags) { return open_at(AT_FDCWD, path, flags, 0); }
int __open64_2(const char* path, int flags) { return open_at(AT_FDCWD, path, flags, 0); }
int __openat_2(int directory, const char* path, int flags) {
  return open_at(directory, path, flags, 0);
}
int __openat64_2(int directory, const char* path, int flags) {
  return open_at(directory, path, flags, 0);
}

int creat(const char* path, mode_t mode) {
  return open_at(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

int close(int descriptor) {
  const bool failing = concerns_descriptor(descriptor) && fails(kFaultClose);
  const int error = errno;
  watch(descriptor, false);
  const auto result = static_cast<int>(syscall(SYS_close, descriptor));
  if (!failing) return result;
  errno = error;
  return -1;
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
  const ssize_t part = allowed(descriptor, size);
  return part < 0 ? -1 : syscall(SYS_write, descriptor, bytes, part);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t place) {
  const ssize_t part = allowed(descriptor, size);
  return part < 0 ? -1 : syscall(SYS_pwrite64, descriptor, bytes, part, place);
}

ssize_t writev(int descriptor, const iovec* pieces, int count) {
  if (concerns_descriptor(descriptor) && fails(kFaultWrite)) return -1;
  return syscall(SYS_writev, descriptor, pieces, count);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
  if (concerns_descriptor(descriptor) && fails(kFaultRead)) return -1;
  return syscall(SYS_read, descriptor, bytes, size);
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t place) {
  if (concerns_descriptor(descriptor) && fails(kFaultRead)) return -1;
  return syscall(SYS_pread64, descriptor, bytes, size, place);
}

int rename(const char* from, const char* to) noexcept {
  if (concerns_path(to) && fails(kFaultRename)) return -1;
  return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int renameat2(int from_directory, const char* from, int to_directory, const char* to,
              unsigned flags) noexcept {
  if (concerns_path(to) && fails(kFaultRename)) return -1;
  return static_cast<int>(syscall(SYS_renameat2, from_directory, from, to_directory, to, flags));
}

// --- Streams ------------------------------------------------------------------------------------

FILE* fopen(const char* path, const char* mode) { return open_stream(path, mode); }
FILE* fopen64(const char* path, const char* mode) { return open_stream(path, mode); }

FILE* fdopen(int descriptor, const char* mode) noexcept {
  if (concerns_descriptor(descriptor) && fails(kFaultOpen)) return nullptr;
  return look_up(known_fdopen, "fdopen")(descriptor, mode);
}

int fclose(FILE* stream) {
  const int descriptor = fileno(stream);
  const bool failing = concerns_descriptor(descriptor) && fails(kFaultClose);
  const int error = errno;
  watch(descriptor, false);
  const int result = look_up(known_fclose, "fclose")(stream);
  if (!failing) return result;
  errno = error;
  return EOF;
}

int getc(FILE* stream) { return read_character(stream); }
int fgetc(FILE* stream) { return read_character(stream); }

// --- Folders ------------------------------------------------------------------------------------

int mkdir(const char* path, mode_t mode) noexcept {
  if (concerns_path(path) && fails(kFaultMakeFolder)) return -1;
  return static_cast<int>(syscall(SYS_mkdirat, AT_FDCWD, path, mode));
}

int mkdirat(int directory, const char* path, mode_t mode) noexcept {
  if (concerns_path(path) && fails(kFaultMakeFolder)) return -1;
  return static_cast<int>(syscall(SYS_mkdirat, directory, path, mode));
}

DIR* opendir(const char* path) {
  const bool concerned = concerns_path(path);
  if (concerned && fails(kFaultOpen)) return nullptr;
  return watch_folder(look_up(known_opendir, "opendir")(path), concerned);
}

DIR* fdopendir(int descriptor) {
  const bool concerned = concerns_descriptor(descriptor);
  if (concerned && fails(kFaultOpen)) return nullptr;
  return watch_folder(look_up(known_fdopendir, "fdopendir")(descriptor), concerned);
}

dirent* readdir(DIR* folder) { return read_folder(folder); }

dirent64* readdir64(DIR* folder) {
  // The same structure on 64-bit machines.
  static_assert(sizeof(dirent) == sizeof(dirent64));
  return reinterpret_cast<dirent64*>(read_folder(folder));
}

// --- Memory -------------------------------------------------------------------------------------

/// As the C library says it.
static void* no_memory() {
  errno = ENOMEM;
  return nullptr;
}

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) { return fails_to_allocate() ? no_memory() : __libc_malloc(size); }

void* calloc(size_t count, size_t size) {
  return fails_to_allocate() ? no_memory() : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
  return fails_to_allocate() ? no_memory() : __libc_realloc(memory, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
  return fails_to_allocate() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
  if (fails_to_allocate()) return ENOMEM;
  *memory = __libc_memalign(alignment, size);
  return *memory == nullptr ? ENOMEM : 0;
}

}  // extern "C"
