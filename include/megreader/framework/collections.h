#pragma once

#include <vector>

#include <megreader/framework/cstring.h>
#include <megreader/framework/exceptions.h>

/// Growing array with the framework's operations. Indices are int, from 0; an index outside the array throws
/// `CInvalidArgException`.
template <class T>
class CFrameworkArray {
 public:
  int GetSize() const { return static_cast<int>(m_items.size()); }
  int GetCount() const { return GetSize(); }

  const T& GetAt(int index) const { return m_items[checked(index, GetSize())]; }
  const T& operator[](int index) const { return GetAt(index); }
  T& operator[](int index) { return m_items[checked(index, GetSize())]; }

  /// Appends the element; returns its index.
  int Add(T item) {
    m_items.push_back(std::move(item));
    return GetSize() - 1;
  }

  /// Sets the element, growing the array with empty elements up to it when needed.
  void SetAtGrow(int index, T item) {
    if (index < 0) AfxThrowInvalidArgException();
    if (index >= GetSize()) SetSize(index + 1);
    m_items[static_cast<std::size_t>(index)] = std::move(item);
  }

  void SetSize(int size) {
    if (size < 0) AfxThrowInvalidArgException();
    m_items.resize(static_cast<std::size_t>(size));
  }

  void RemoveAt(int index, int count = 1) {
    if (count < 0 || index < 0 || count > GetSize() - index) AfxThrowInvalidArgException();
    m_items.erase(m_items.begin() + index, m_items.begin() + index + count);
  }

  void RemoveAll() { m_items.clear(); }

 private:
  static std::size_t checked(int index, int size) {
    if (index < 0 || index >= size) AfxThrowInvalidArgException();
    return static_cast<std::size_t>(index);
  }

  std::vector<T> m_items;
};

/// Array of pointers; it does not own what they point to.
class CPtrArray : public CFrameworkArray<void*> {};

class CStringArray : public CFrameworkArray<CString> {};
