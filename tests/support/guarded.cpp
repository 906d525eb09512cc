#include "tests/support/guarded.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace nyx::test {
namespace {
size_t PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }
size_t RoundUp(size_t x, size_t a) { return (x + a - 1) / a * a; }
}  // namespace

GuardedBuffer::GuardedBuffer(size_t bytes, bool guard_front) : bytes_(bytes) {
  const size_t page = PageSize();
  const size_t body = RoundUp(bytes ? bytes : 1, page);
  map_bytes_ = body + 2 * page;
  void* m = mmap(nullptr, map_bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (m == MAP_FAILED) std::abort();
  map_ = static_cast<uint8_t*>(m);
  mprotect(map_ + page + body, page, PROT_NONE);
  if (guard_front) mprotect(map_, page, PROT_NONE);
  data_ = map_ + page + body - bytes;
}

GuardedBuffer::~GuardedBuffer() { munmap(map_, map_bytes_); }

NoAccessPage::NoAccessPage() {
  page_ = mmap(nullptr, PageSize(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (page_ == MAP_FAILED) std::abort();
}
NoAccessPage::~NoAccessPage() { munmap(page_, PageSize()); }

SparseRegion::SparseRegion(size_t bytes) {
  void* m = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (m == MAP_FAILED) return;
  data_ = static_cast<uint8_t*>(m);
  bytes_ = bytes;
}
SparseRegion::~SparseRegion() {
  if (data_) munmap(data_, bytes_);
}

}  // namespace nyx::test
