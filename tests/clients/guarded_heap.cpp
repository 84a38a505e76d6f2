#include "tests/clients/guarded_heap.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/win32/exclusive_lock.h"
#include "tests/automation/replaced_import.h"

namespace qmzentrel::clients {
namespace {

using automation::ReplacedImport;

constexpr std::size_t kPage = 4096;  // the processor's
constexpr std::size_t kPages = 0x10000;
// What every block of the C library is a multiple of.
constexpr std::size_t kAlignment = 8;
constexpr char kFill = 0x5A;

[[noreturn]] void End(const char* what, const void* place) {
  std::fprintf(stderr, "Guarded heap: %s at %p\n", what, place);
  std::fflush(nullptr);
  TerminateProcess(GetCurrentProcess(), 3);
  std::abort();
}

std::size_t RoundedUp(std::size_t bytes, std::size_t unit) {
  return (bytes + unit - 1) / unit * unit;
}

// Where a block of so many bytes lies in its pages: as far behind as it can.
struct Room {
  explicit Room(std::size_t bytes)
      : length(std::max(RoundedUp(bytes, kAlignment), kAlignment)),
        pages(RoundedUp(length, kPage) / kPage),
        before(pages * kPage - length) {}

  std::size_t length;
  std::size_t pages;
  std::size_t before;
};

// Pages of one reserved range, taken in turn, so that those given back stay out of reach for long.
class PageHeap {
 public:
  bool Holds(const void* place) const {
    const auto* byte = static_cast<const char*>(place);
    return byte >= base_ && byte < base_ + kPages * kPage;
  }
  std::size_t Taken() const { return taken_; }

  void* Take(std::size_t bytes) {
    const platform::ExclusiveLock lock(lock_);
    const Room room(bytes);
    const std::size_t first = Find(room.pages + 1);
    char* const begin = base_ + first * kPage;
    if (VirtualAlloc(begin, room.pages * kPage, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
      return nullptr;
    }
    std::memset(begin, kFill, room.pages * kPage);
    sizes_[first] = bytes;
    MarkAll(first, room, true);
    ++taken_;
    return begin + room.before;
  }

  std::size_t SizeOf(const void* block) const { return sizes_[FirstPage(block)]; }

  void GiveBack(void* block) {
    const platform::ExclusiveLock lock(lock_);
    const std::size_t first = FirstPage(block);
    if (!in_use_[first]) End("given back once more: a block", block);
    const Room room(sizes_[first]);
    char* const begin = base_ + first * kPage;
    if (begin + room.before != block) End("given back: what is no block,", block);
    if (!IsUntouched(begin, begin + room.before)) End("written to: before the block", block);
    if (!IsUntouched(begin + room.before + sizes_[first], begin + room.pages * kPage)) {
      End("written to: behind the block", block);
    }
    VirtualFree(begin, room.pages * kPage, MEM_DECOMMIT);
    MarkAll(first, room, false);
  }

 private:
  static bool IsUntouched(const char* begin, const char* end) {
    return std::all_of(begin, end, [](char byte) { return byte == kFill; });
  }
  std::size_t FirstPage(const void* block) const {
    return static_cast<std::size_t>(static_cast<const char*>(block) - base_) / kPage;
  }
  // With the page behind it, which nobody gets.
  void MarkAll(std::size_t first, const Room& room, bool in_use) {
    std::fill_n(in_use_.begin() + static_cast<std::ptrdiff_t>(first), room.pages + 1, in_use);
  }
  // The next `pages` that are free one behind the other.
  std::size_t Find(std::size_t pages) {
    std::size_t free = 0;
    for (std::size_t looked_at = 0; looked_at < 2 * kPages; ++looked_at) {
      if (next_ == kPages) next_ = free = 0;
      free = in_use_[next_++] ? 0 : free + 1;
      if (free == pages) return next_ - pages;
    }
    End("no page is left", base_);
  }

  SRWLOCK lock_ = SRWLOCK_INIT;
  char* const base_ =
      static_cast<char*>(VirtualAlloc(nullptr, kPages* kPage, MEM_RESERVE, PAGE_NOACCESS));
  std::vector<bool> in_use_ = std::vector<bool>(kPages);
  std::vector<std::size_t> sizes_ = std::vector<std::size_t>(kPages);  // by a block's first page
  std::size_t next_ = 0;
  std::size_t taken_ = 0;
};

// It lives as long as the library may have blocks of it, which is to the end.
PageHeap& TheHeap() {
  static auto* const heap = new PageHeap;
  return *heap;
}

LONG CALLBACK EndAtForbiddenAccess(EXCEPTION_POINTERS* fault) {
  const EXCEPTION_RECORD& record = *fault->ExceptionRecord;
  const auto* const place = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
  if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && TheHeap().Holds(place)) {
    std::fprintf(stderr, "Guarded heap: by the instruction at %p\n", record.ExceptionAddress);
    End("touched, but behind a block or given back:", place);
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

// --- What the library calls instead of the C library ---

using Free = void(CDECL*)(void*);
using Reallocate = void*(CDECL*)(void*, std::size_t);
Free g_system_free;
Reallocate g_system_realloc;

void* CDECL Allocate(std::size_t bytes) {
  return TheHeap().Take(bytes);
}
void* CDECL AllocateZeroed(std::size_t count, std::size_t bytes) {
  if (bytes != 0 && count > SIZE_MAX / bytes) return nullptr;
  void* const block = TheHeap().Take(count * bytes);
  return block == nullptr ? nullptr : std::memset(block, 0, count * bytes);
}
void CDECL Release(void* block) {
  if (TheHeap().Holds(block)) {
    TheHeap().GiveBack(block);
  } else {
    g_system_free(block);
  }
}
void* CDECL Resize(void* block, std::size_t bytes) {
  if (block != nullptr && !TheHeap().Holds(block)) return g_system_realloc(block, bytes);
  void* const other = TheHeap().Take(bytes);
  if (block == nullptr || other == nullptr) return other;
  std::memcpy(other, block, std::min(bytes, TheHeap().SizeOf(block)));
  TheHeap().GiveBack(block);
  return other;
}

// For ever: what is given back after the last test has to come back here.
template <class Function>
Function Replace(HMODULE library, const char* name, Function function) {
  const auto* const replaced = new ReplacedImport<Function>(library, L"msvcrt.dll", name, function);
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks) for ever, as said
  return replaced->System();
}

}  // namespace

void GuardHeapOf(HMODULE library) {
  AddVectoredExceptionHandler(1, EndAtForbiddenAccess);
  g_system_free = Replace<Free>(library, "free", Release);
  g_system_realloc = Replace<Reallocate>(library, "realloc", Resize);
  Replace(library, "calloc", AllocateZeroed);
  Replace(library, "malloc", Allocate);
  std::atexit([] {
    if (GuardedBlocks() != 0) return;
    std::fprintf(stderr, "Guarded heap: the library has taken no block\n");
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 2);
  });
}

void* TakeGuarded(std::size_t bytes) {
  return TheHeap().Take(bytes);
}

void GiveBackGuarded(void* block) {
  TheHeap().GiveBack(block);
}

std::size_t GuardedBlocks() {
  return TheHeap().Taken();
}

}  // namespace qmzentrel::clients
