// An owning reference to a COM object: AddRef on copy, Release on destruction.
#pragma once

#include <unknwn.h>

#include <utility>

namespace lumivex::com {

template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  // Takes over a reference the caller already owns.
  static ComPtr Adopt(T* raw) {
    ComPtr p;
    p.raw_ = raw;
    return p;
  }
  ComPtr(const ComPtr& other) : raw_(other.raw_) {
    if (raw_ != nullptr) raw_->AddRef();
  }
  ComPtr(ComPtr&& other) noexcept : raw_(std::exchange(other.raw_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(raw_, other.raw_);
    return *this;
  }
  ~ComPtr() { Reset(); }

  void Reset() {
    if (raw_ != nullptr) std::exchange(raw_, nullptr)->Release();
  }
  [[nodiscard]] T* Get() const { return raw_; }
  T* operator->() const { return raw_; }
  explicit operator bool() const { return raw_ != nullptr; }
  // The address to receive a new reference (the old one is released first).
  T** Receive() {
    Reset();
    return &raw_;
  }
  // Hands a new reference to a caller's out-pointer.
  void CopyTo(T** out) const {
    if (raw_ != nullptr) raw_->AddRef();
    *out = raw_;
  }

 private:
  T* raw_ = nullptr;
};

}  // namespace lumivex::com
