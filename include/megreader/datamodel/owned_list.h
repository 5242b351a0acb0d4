#pragma once

#include <memory>
#include <vector>

/// An object that the pointer owns, or null. Copies are deep.
template <class T>
class OwnedPointer : public std::unique_ptr<T> {
 public:
  OwnedPointer() = default;
  OwnedPointer(const OwnedPointer& other)
      : std::unique_ptr<T>(other ? std::make_unique<T>(*other) : nullptr) {}
  OwnedPointer(OwnedPointer&&) noexcept = default;
  OwnedPointer& operator=(const OwnedPointer& other) {
    if (this != &other) *this = OwnedPointer(other);
    return *this;
  }
  OwnedPointer& operator=(OwnedPointer&&) noexcept = default;
  ~OwnedPointer() = default;
};

/// Objects that the list owns and that stay at their places while it grows. Copies are deep.
template <class T>
class OwnedList : public std::vector<std::unique_ptr<T>> {
 public:
  OwnedList() = default;
  OwnedList(const OwnedList& other) : std::vector<std::unique_ptr<T>>() {
    this->reserve(other.size());
    for (const auto& item : other)
      this->push_back(item ? std::make_unique<T>(*item) : nullptr);
  }
  OwnedList(OwnedList&&) noexcept = default;
  OwnedList& operator=(const OwnedList& other) {
    if (this != &other) *this = OwnedList(other);
    return *this;
  }
  OwnedList& operator=(OwnedList&&) noexcept = default;
  ~OwnedList() = default;
};
