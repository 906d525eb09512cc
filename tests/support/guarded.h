// Memory with no-access guard pages, for tests that must fault on any read
// or write outside the bytes a call may touch.
#pragma once

#include <cstddef>
#include <cstdint>

namespace nyx::test {

// `bytes` of read-write memory that end exactly where a PROT_NONE page
// begins (and, with guard_front, start right after another one).
class GuardedBuffer {
 public:
  explicit GuardedBuffer(size_t bytes, bool guard_front = false);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  uint8_t* data() { return data_; }
  size_t size() const { return bytes_; }
  template <class T>
  T* as() {
    return reinterpret_cast<T*>(data_);
  }

 private:
  uint8_t* map_ = nullptr;
  size_t map_bytes_ = 0;
  uint8_t* data_ = nullptr;
  size_t bytes_ = 0;
};

// A page that may be neither read nor written: a source that a call must
// not read can point here.
class NoAccessPage {
 public:
  NoAccessPage();
  ~NoAccessPage();
  NoAccessPage(const NoAccessPage&) = delete;
  NoAccessPage& operator=(const NoAccessPage&) = delete;
  template <class T>
  T* as() {
    return reinterpret_cast<T*>(page_);
  }

 private:
  void* page_;
};

// A large virtual reservation (pages are committed only when touched), for
// _L tests whose strides pass 2^31. Returns null if it cannot be mapped.
class SparseRegion {
 public:
  explicit SparseRegion(size_t bytes);
  ~SparseRegion();
  SparseRegion(const SparseRegion&) = delete;
  SparseRegion& operator=(const SparseRegion&) = delete;
  uint8_t* data() { return data_; }
  size_t size() const { return bytes_; }

 private:
  uint8_t* data_ = nullptr;
  size_t bytes_ = 0;
};

}  // namespace nyx::test
