#include "shortage.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

// The C library's own, below the names that this program takes over.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

constexpr std::size_t kFrames = 48;
using Frames = std::array<void*, kFrames>;

thread_local bool watching = false;  // this thread's allocations
thread_local bool paused = false;
std::atomic<bool> everywhere{false};  // all threads' allocations
Shortage kindOfShortage = Shortage::Once;
std::size_t grants = 0;
std::atomic<std::size_t> count{0};
std::atomic<bool> failed{false};
std::atomic<bool> tracing{false};
Frames refusedFrames;
std::size_t refusedFrameCount = 0;

std::size_t framesHere(Frames& frames) noexcept {
  return static_cast<std::size_t>(std::max(backtrace(frames.data(), kFrames), 0));
}

/// The blocks of the shortage that are alive. Nothing in here may allocate.
class Blocks {
 public:
  struct Block {
    std::uint32_t epoch = 0;
    std::size_t frameCount = 0;
    const void* address = nullptr;  // null: a block that was freed was here
    std::size_t size = 0;
  };

  void clear() noexcept {
    const Guard guard(*this);
    ++epoch_;
    alive_ = 0;
  }
  std::size_t alive() const noexcept { return alive_; }

  void add(const void* address, std::size_t size) noexcept {
    Frames frames;
    // The number of frames is looked for before the guard is taken.
    const std::size_t frameCount = tracing ? framesHere(frames) : 0;
    const Guard guard(*this);
    std::size_t slot = home(address);
    std::size_t tried = 0;
    while (isUsed(slot) && table_[slot].address != nullptr) {
      if (++tried == kSlots) std::abort();
      slot = (slot + 1) % kSlots;
    }
    table_[slot] = {epoch_, frameCount, address, size};
    if (frameCount != 0) frames_[slot] = frames;
    ++alive_;
  }

  /// @return whether it was one of them.
  bool remove(const void* address) noexcept {
    if (alive_ == 0 || address == nullptr) return false;
    const Guard guard(*this);
    std::size_t slot = home(address);
    for (; isUsed(slot); slot = (slot + 1) % kSlots) {
      if (table_[slot].address != address) continue;
      table_[slot].address = nullptr;
      --alive_;
      return true;
    }
    return false;
  }

  template <class Visit>
  void forEach(Visit visit) const {
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
      if (isUsed(slot) && table_[slot].address != nullptr) visit(table_[slot], frames_[slot]);
    }
  }

 private:
  static constexpr std::size_t kSlots = std::size_t{1} << 15;

  struct Guard {
    explicit Guard(Blocks& blocks) noexcept : lock(blocks.lock_) {
      while (lock.test_and_set(std::memory_order_acquire)) continue;
    }
    ~Guard() { lock.clear(std::memory_order_release); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    std::atomic_flag& lock;
  };

  static std::size_t home(const void* address) noexcept {
    return (reinterpret_cast<std::uintptr_t>(address) >> 4U) * 2654435761U % kSlots;
  }
  bool isUsed(std::size_t slot) const noexcept { return table_[slot].epoch == epoch_; }

  std::atomic_flag lock_ = ATOMIC_FLAG_INIT;
  std::atomic<std::size_t> alive_{0};
  std::uint32_t epoch_ = 1;
  std::array<Block, kSlots> table_{};
  std::array<Frames, kSlots> frames_{};
};

constinit Blocks blocks;

/// Stops the watch while the tool itself allocates.
struct Pause {
  Pause() noexcept : before(std::exchange(paused, true)) {}
  ~Pause() { paused = before; }
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;
  bool before;
};

/// Whose code runs.
enum class Code { Program, Runtime, Curl, TLS, Crypto, Other };

Code codeOf(std::string_view path) {
  const std::string_view name = path.substr(path.find_last_of('/') + 1);
  if (name.empty()) return Code::Program;  // which stands in for the C library here
  if (name.starts_with("libc.") || name.starts_with("libstdc++") || name.starts_with("ld-")) return Code::Runtime;
  if (name.starts_with("libcurl")) return Code::Curl;
  if (name.starts_with("libssl")) return Code::TLS;
  return name.starts_with("libcrypto") ? Code::Crypto : Code::Other;
}

/// Where the code of each library lies. Looked up for thousands of frames, for which dladdr takes too long.
class Ranges {
 public:
  /// Reads anew what is loaded.
  void refresh() noexcept {
    size_ = 0;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* ranges) {
          static_cast<Ranges*>(ranges)->add(*info);
          return 0;
        },
        this);
  }
  Code find(const void* frame) const noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(frame);
    for (std::size_t i = 0; i < size_; ++i) {
      if (address >= all_[i].begin && address < all_[i].end) return all_[i].code;
    }
    return Code::Other;
  }

 private:
  struct Range {
    std::uintptr_t begin, end;
    Code code;
  };

  void add(const dl_phdr_info& info) noexcept {
    for (std::size_t i = 0; i < info.dlpi_phnum && size_ < all_.size(); ++i) {
      const auto& segment = info.dlpi_phdr[i];
      const std::uintptr_t begin = info.dlpi_addr + segment.p_vaddr;
      if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
        all_[size_++] = {begin, begin + segment.p_memsz, codeOf(info.dlpi_name)};
      }
    }
  }

  std::array<Range, 128> all_{};
  std::size_t size_ = 0;
};

constinit Ranges ranges;

/// Which call asked for an allocation: the first from outside this program and the language's own libraries.
std::size_t findAsking(const Frames& frames, std::size_t size) {
  std::size_t i = 0;
  while (i < size && (ranges.find(frames[i]) == Code::Program || ranges.find(frames[i]) == Code::Runtime)) ++i;
  return i;
}

/// Whether a library that ours call asked for it.
bool isForeign(const Frames& frames, std::size_t size) {
  const std::size_t asking = findAsking(frames, size);
  return asking != size && ranges.find(frames[asking]) != Code::Other;
}

/// Whether OpenSSL was making what it makes once.
bool isMadeOnce(const void* frame) {
  static const auto begin = reinterpret_cast<std::uintptr_t>(dlsym(RTLD_DEFAULT, "CRYPTO_THREAD_run_once"));
  constexpr std::uintptr_t kSize = 64;  // it hardly does more than call
  const auto address = reinterpret_cast<std::uintptr_t>(frame);
  return begin != 0 && address >= begin && address < begin + kSize;
}

/// What fails here harms a process whatever calls: libcurl 7.88 frees a name twice when it finds no memory to keep a
/// TLS session, which OpenSSL gives it by a call back; and OpenSSL never again makes what it could not make the one
/// time that it tries, and may crash for want of it.
bool isBeyondHelp(const Frames& frames, std::size_t size) {
  const auto begin = frames.begin() + static_cast<std::ptrdiff_t>(findAsking(frames, size));
  const auto end = frames.begin() + static_cast<std::ptrdiff_t>(size);
  if (begin == end || ranges.find(*begin) == Code::Other) return false;
  const auto isOfTLS = [](const void* frame) { return ranges.find(frame) == Code::TLS; };
  return ranges.find(*begin) == Code::Curl ? std::any_of(begin, end, isOfTLS) : std::any_of(begin, end, isMadeOnce);
}

std::string nameOf(const void* frame) {
  Dl_info info{};
  if (dladdr(frame, &info) == 0 || info.dli_fname == nullptr) return "?";
  const std::string_view path = info.dli_fname;
  std::string name(path.substr(path.find_last_of('/') + 1));
  return info.dli_sname == nullptr ? name : name.append(" ").append(info.dli_sname);
}

std::string describe(const Frames& frames, std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += "\n    " + nameOf(frames[i]);
  return text;
}

bool isRefused() noexcept {
  if (paused || !(watching || everywhere)) return false;
  const bool isDue = count++ >= grants && (kindOfShortage == Shortage::Lasting || !failed);
  if (!isDue) return false;
  const Pause pause;
  Frames frames;
  const std::size_t size = framesHere(frames);
  if (isBeyondHelp(frames, size)) return false;
  if (!failed.exchange(true)) {
    refusedFrames = frames;
    refusedFrameCount = size;
  }
  errno = ENOMEM;
  return true;
}

void* noted(void* block, std::size_t size) noexcept {
  if (!watching || paused || block == nullptr) return block;
  const Pause pause;
  blocks.add(block, size);
  return block;
}

}  // namespace

#define QAI_REPLACEMENT extern "C" __attribute__((visibility("default")))

QAI_REPLACEMENT void* malloc(std::size_t size) noexcept {
  return isRefused() ? nullptr : noted(__libc_malloc(size), size);
}

QAI_REPLACEMENT void* calloc(std::size_t number, std::size_t size) noexcept {
  return isRefused() ? nullptr : noted(__libc_calloc(number, size), number * size);
}

QAI_REPLACEMENT void* realloc(void* block, std::size_t size) noexcept {
  if (isRefused()) return nullptr;
  const bool wasOurs = blocks.remove(block);
  void* const moved = __libc_realloc(block, size);
  if (moved == nullptr || (!wasOurs && (!watching || paused))) return moved;
  const Pause pause;
  blocks.add(moved, size);
  return moved;
}

QAI_REPLACEMENT void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return isRefused() ? nullptr : noted(__libc_memalign(alignment, size), size);
}

QAI_REPLACEMENT void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return memalign(alignment, size);
}

QAI_REPLACEMENT int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  void* const made = memalign(alignment, size);
  if (made == nullptr) return ENOMEM;
  *block = made;
  return 0;
}

QAI_REPLACEMENT void free(void* block) noexcept {
  blocks.remove(block);
  __libc_free(block);
}

namespace {

void prepareShortage(Shortage kind, std::size_t granted) noexcept {
  static const bool ready = [] {
    Frames frames;
    return framesHere(frames) > 0;  // the first time loads a library
  }();
  static_cast<void>(ready);
  ranges.refresh();
  kindOfShortage = kind;
  grants = granted;
  count = 0;
  failed = false;
  blocks.clear();
}

}  // namespace

void beginShortage(Shortage kind, std::size_t granted) noexcept {
  prepareShortage(kind, granted);
  watching = true;
}

void beginShortageEverywhere(Shortage kind, std::size_t granted) noexcept {
  prepareShortage(kind, granted);
  everywhere = true;
}

bool endShortage() noexcept {
  watching = false;
  everywhere = false;
  return failed;
}

std::size_t allocationsInShortage() noexcept { return count; }

std::size_t blocksLeft() noexcept { return blocks.alive(); }

void traceBlocks(bool on) noexcept { tracing = on; }

std::string describeFirstRefusal() { return describe(refusedFrames, refusedFrameCount); }

std::string describeBlocksLeft() {
  std::string text;
  blocks.forEach([&text](const Blocks::Block& block, const Frames& frames) {
    text += "\n  " + std::to_string(block.size) + " bytes:" + describe(frames, block.frameCount);
  });
  return text;
}

bool onlyForeignBlocksLeft() {
  bool only = true;
  blocks.forEach(
      [&only](const auto& block, const auto& frames) { only = only && isForeign(frames, block.frameCount); });
  return only;
}
