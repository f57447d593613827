// Where a JSON document's texts and values lie.
#include "json_internal.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t kLargestChunk = 1024;  // in pages; what is left of it when the document is whole goes unused
constexpr std::align_val_t kPageAlignment{JsonPage::kSize};

}  // namespace

char* COJsonValue::Arena::copyText(std::string_view text) {
  if (!hasTextSize(text)) throw std::length_error("text too long for JSON");
  auto* const copy = static_cast<char*>(memory.allocate(text.size() + 1, 1));
  *std::copy(text.begin(), text.end(), copy) = '\0';
  return copy;
}

COJsonValue* COJsonValue::Arena::allocateOnNextPages(std::size_t count) {
  if (count > JsonPage::kCapacity - used_ + pagesLeft_ * JsonPage::kCapacity) addChunk(count);
  if (used_ == JsonPage::kCapacity) openNextPage();
  COJsonValue* const first = page_->values() + used_;
  std::size_t end = used_ + count;
  for (; end > JsonPage::kCapacity; end -= JsonPage::kCapacity) openNextPage();
  used_ = end;
  return first;
}

void COJsonValue::Arena::addChunk(std::size_t count) {
  const std::size_t pages = std::max((count - 1) / JsonPage::kCapacity + 1, chunkPages_);
  void* const memoryOfChunk = ::operator new(pages* JsonPage::kSize, kPageAlignment);
  page_ = chunk_ = ::new (memoryOfChunk) JsonPage{this, chunk_};
  used_ = 0;
  pagesLeft_ = pages - 1;
  chunkPages_ = std::min(2 * pages, kLargestChunk);
}

// Pages are prepared as they are needed, so that the rest of a chunk is never touched.
void COJsonValue::Arena::openNextPage() noexcept {
  page_ = ::new (static_cast<void*>(page_ + 1)) JsonPage{this, nullptr};
  used_ = 0;
  --pagesLeft_;
}

void COJsonValue::Arena::release() noexcept {
  memory.release();
  while (chunk_ != nullptr) ::operator delete(std::exchange(chunk_, chunk_->chunkBefore), kPageAlignment);
  page_ = nullptr;
  used_ = JsonPage::kCapacity;
  pagesLeft_ = 0;
  chunkPages_ = 1;
}
