// The enumerators of the connection interfaces: a list taken at one moment, and a place in it.
#pragma once

#include <windows.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "com/heap_object.h"

namespace qmzentrel::com {

/// `Element` owns what it names and has `void Share(Item&) const`, which fills an item for a client
/// with references of its own.
template <class Interface, const IID& kIdentifier, class Item, class Element>
class Enumerator final : public HeapObject<Interface, kIdentifier> {
 public:
  using List = std::vector<Element>;

  explicit Enumerator(List list) : list_(std::make_shared<const List>(std::move(list))) {}

  STDMETHODIMP Next(ULONG count, Item* items, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (items == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
    const ULONG given = std::min(count, Left());
    for (ULONG i = 0; i < given; ++i) (*list_)[position_++].Share(items[i]);
    if (fetched != nullptr) *fetched = given;
    return given == count ? S_OK : S_FALSE;
  }

  STDMETHODIMP Skip(ULONG count) override {
    const ULONG skipped = std::min(count, Left());
    position_ += skipped;
    return skipped == count ? S_OK : S_FALSE;
  }

  STDMETHODIMP Reset() override {
    position_ = 0;
    return S_OK;
  }

  STDMETHODIMP Clone(Interface** copy) override {
    if (copy == nullptr) return E_POINTER;
    *copy = new (std::nothrow) Enumerator(*this);
    return *copy == nullptr ? E_OUTOFMEMORY : S_OK;
  }

 private:
  Enumerator(const Enumerator& other)
      : HeapObject<Interface, kIdentifier>(), list_(other.list_), position_(other.position_) {}

  ULONG Left() const { return static_cast<ULONG>(list_->size()) - position_; }

  std::shared_ptr<const List> list_;
  ULONG position_ = 0;
};

}  // namespace qmzentrel::com
