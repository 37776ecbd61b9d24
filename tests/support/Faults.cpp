#include "support/Faults.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

// Where the program's own code begins and ends, as the linker knows it.
extern "C" const char __executable_start;
extern "C" const char etext;

namespace orlinths {
namespace {

std::atomic<bool> armed{false};
std::atomic<std::int64_t> calls{0};
FaultKind armedKind = FaultKind::kOpen;
FaultAction armedAction = FaultAction::kFail;
std::int64_t armedAt = 0;

enum class Verdict { kGoOn, kFail, kDieAfter };

[[noreturn]] void Die() {
  ::kill(::getpid(), SIGKILL);
  for (;;) ::pause();
}

Verdict Judge(FaultKind kind) {
  if (!armed.load(std::memory_order_relaxed)) return Verdict::kGoOn;
  const bool isAllocation = kind == FaultKind::kAllocation || kind == FaultKind::kOwnAllocation;
  const bool isAnyCall = !isAllocation && kind != FaultKind::kRead;
  const bool isMeant = kind == armedKind || (armedKind == FaultKind::kAnyCall && isAnyCall) ||
                       (armedKind == FaultKind::kAllocation && isAllocation);
  if (!isMeant) return Verdict::kGoOn;
  const std::int64_t call = ++calls;
  if (call < armedAt || (call > armedAt && armedAction != FaultAction::kFailFromOn))
    return Verdict::kGoOn;
  if (armedAction == FaultAction::kDieBefore) Die();
  return armedAction == FaultAction::kDieHalfway ? Verdict::kDieAfter : Verdict::kFail;
}

template <class Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int Fail(int error) {
  errno = error;
  return -1;
}

/// Calls `real` unless the fault has come.
template <class Call>
auto Meet(FaultKind kind, int error, Call call) -> decltype(call()) {
  const Verdict verdict = Judge(kind);
  if (verdict == Verdict::kFail) return Fail(error);
  const auto result = call();
  if (verdict == Verdict::kDieAfter) Die();
  return result;
}

/// The same of a stream, which remembers its errors.
template <class Call>
auto MeetStream(FaultKind kind, int error, FILE* stream, Call call) -> decltype(call()) {
  const Verdict verdict = Judge(kind);
  if (verdict == Verdict::kFail) {
    stream->_flags |= _IO_ERR_SEEN;
    errno = error;
    return {};
  }
  const auto result = call();
  if (verdict == Verdict::kDieAfter) Die();
  return result;
}

template <class Write>
ssize_t MeetWrite(std::size_t count, Write write) {
  const Verdict verdict = Judge(FaultKind::kWrite);
  if (verdict == Verdict::kFail) return Fail(ENOSPC);
  if (verdict == Verdict::kGoOn) return write(count);
  write(count / 2);
  Die();
}

int ModeOf(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, int) : 0;
}

bool IsInProgram(const void* address) { return address >= &__executable_start && address < &etext; }

void* Allocate(std::size_t bytes, const void* caller) {
  const FaultKind kind = IsInProgram(caller) ? FaultKind::kOwnAllocation : FaultKind::kAllocation;
  if (Judge(kind) == Verdict::kFail) throw std::bad_alloc();
  if (void* space = std::malloc(bytes == 0 ? 1 : bytes)) return space;
  throw std::bad_alloc();
}

}  // namespace

Fault::Fault(FaultKind kind, std::int64_t nth, FaultAction action) {
  armedKind = kind;
  armedAction = action;
  armedAt = nth;
  calls = 0;
  armed = true;
}

Fault::~Fault() { armed = false; }
bool Fault::HasStruck() const { return calls >= armedAt; }
std::int64_t Fault::Calls() const { return calls; }

}  // namespace orlinths

using orlinths::FaultKind;
using orlinths::Meet;
using orlinths::MeetStream;
using orlinths::MeetWrite;
using orlinths::Next;

extern "C" {

#define ORLINTHS_OPEN(name)                                                         \
  int name(const char* path, int flags, ...) {                                      \
    static const auto real = Next<int(const char*, int, ...)>(#name);               \
    va_list arguments;                                                              \
    va_start(arguments, flags);                                                     \
    const int mode = orlinths::ModeOf(flags, arguments);                            \
    va_end(arguments);                                                              \
    return Meet(FaultKind::kOpen, EACCES, [&] { return real(path, flags, mode); }); \
  }
ORLINTHS_OPEN(open)
ORLINTHS_OPEN(open64)
#undef ORLINTHS_OPEN

#define ORLINTHS_FOPEN(name)                                                                    \
  FILE* name(const char* path, const char* mode) {                                              \
    static const auto real = Next<FILE*(const char*, const char*)>(#name);                      \
    if (orlinths::Judge(FaultKind::kOpen) == orlinths::Verdict::kGoOn) return real(path, mode); \
    errno = EACCES;                                                                             \
    return nullptr;                                                                             \
  }
ORLINTHS_FOPEN(fopen)
ORLINTHS_FOPEN(fopen64)
#undef ORLINTHS_FOPEN

ssize_t read(int descriptor, void* bytes, size_t count) {
  static const auto real = Next<ssize_t(int, void*, size_t)>("read");
  return Meet(FaultKind::kRead, EIO, [&] { return real(descriptor, bytes, count); });
}

#define ORLINTHS_PREAD(name)                                                                      \
  ssize_t name(int descriptor, void* bytes, size_t count, off_t position) {                       \
    static const auto real = Next<ssize_t(int, void*, size_t, off_t)>(#name);                     \
    return Meet(FaultKind::kRead, EIO, [&] { return real(descriptor, bytes, count, position); }); \
  }
ORLINTHS_PREAD(pread)
ORLINTHS_PREAD(pread64)
#undef ORLINTHS_PREAD

size_t fread(void* bytes, size_t size, size_t count, FILE* stream) {
  static const auto real = Next<size_t(void*, size_t, size_t, FILE*)>("fread");
  return MeetStream(FaultKind::kRead, EIO, stream,
                    [&] { return real(bytes, size, count, stream); });
}

size_t fwrite(const void* bytes, size_t size, size_t count, FILE* stream) {
  static const auto real = Next<size_t(const void*, size_t, size_t, FILE*)>("fwrite");
  return MeetStream(FaultKind::kWrite, ENOSPC, stream,
                    [&] { return real(bytes, size, count, stream); });
}

ssize_t write(int descriptor, const void* bytes, size_t count) {
  static const auto real = Next<ssize_t(int, const void*, size_t)>("write");
  return MeetWrite(count, [&](std::size_t n) { return real(descriptor, bytes, n); });
}

#define ORLINTHS_PWRITE(name)                                                                     \
  ssize_t name(int descriptor, const void* bytes, size_t count, off_t position) {                 \
    static const auto real = Next<ssize_t(int, const void*, size_t, off_t)>(#name);               \
    return MeetWrite(count, [&](std::size_t n) { return real(descriptor, bytes, n, position); }); \
  }
ORLINTHS_PWRITE(pwrite)
ORLINTHS_PWRITE(pwrite64)
#undef ORLINTHS_PWRITE

int ftruncate(int descriptor, off_t length) noexcept {
  static const auto real = Next<int(int, off_t)>("ftruncate");
  return Meet(FaultKind::kWrite, ENOSPC, [&] { return real(descriptor, length); });
}

// No test pulls the plug: a sync that does not fail is left out, which is what makes thousands of
// commits a matter of seconds.
int fsync(int) {
  return Meet(FaultKind::kSync, EIO, [] { return 0; });
}

int rename(const char* from, const char* to) noexcept {
  static const auto real = Next<int(const char*, const char*)>("rename");
  return Meet(FaultKind::kRename, EIO, [&] { return real(from, to); });
}

int link(const char* from, const char* to) noexcept {
  static const auto real = Next<int(const char*, const char*)>("link");
  return Meet(FaultKind::kAnyCall, EIO, [&] { return real(from, to); });
}

int unlink(const char* path) noexcept {
  static const auto real = Next<int(const char*)>("unlink");
  return Meet(FaultKind::kAnyCall, EIO, [&] { return real(path); });
}

int fclose(FILE* stream) {
  static const auto real = Next<int(FILE*)>("fclose");
  const auto verdict = orlinths::Judge(FaultKind::kClose);
  const int result = real(stream);
  if (verdict == orlinths::Verdict::kDieAfter) orlinths::Die();
  if (verdict == orlinths::Verdict::kFail) return orlinths::Fail(EIO);
  return result;
}

int close(int descriptor) {
  static const auto real = Next<int(int)>("close");
  const auto verdict = orlinths::Judge(FaultKind::kClose);
  const int result = real(descriptor);
  if (verdict == orlinths::Verdict::kDieAfter) orlinths::Die();
  if (verdict == orlinths::Verdict::kFail) return orlinths::Fail(EIO);
  return result;
}

}  // extern "C"

// g++ pairs these with free() rightly: every operator new here is malloc.
void* operator new(std::size_t bytes) {
  return orlinths::Allocate(bytes, __builtin_return_address(0));
}
void* operator new[](std::size_t bytes) {
  return orlinths::Allocate(bytes, __builtin_return_address(0));
}
// Libraries use the forms that give nothing too: they belong with the others, and meet no faults.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return std::malloc(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
  return std::malloc(bytes);
}
void operator delete(void* space, const std::nothrow_t&) noexcept { std::free(space); }
void operator delete[](void* space, const std::nothrow_t&) noexcept { std::free(space); }
void operator delete(void* space) noexcept { std::free(space); }
void operator delete[](void* space) noexcept { std::free(space); }
void operator delete(void* space, std::size_t) noexcept { std::free(space); }
void operator delete[](void* space, std::size_t) noexcept { std::free(space); }
