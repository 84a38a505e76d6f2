#include "com/array_argument.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "com/error_info.h"
#include "platform/hardware_faults.h"
#include "platform/win32/late_bound.h"
#include "platform/win32/owned_variant.h"
#include "platform/win32/variant_conversion.h"
#include "support/late_bound.h"

namespace qmzentrel::com {
namespace {

HRESULT ToNumber(VARIANT* value, LCID lcid, std::int32_t& number) {
  platform::OwnedVariant converted;
  const HRESULT result = platform::ConvertVariant(converted.Get(), value, lcid, VT_I4);
  if (SUCCEEDED(result)) number = V_I4(converted.Get());
  return result;
}

HRESULT ReadMember(IDispatch* object, std::string_view name, LCID lcid, std::int32_t& number) {
  platform::OwnedVariant value;
  if (platform::LateGet({object}, name, value.Get())) return DISP_E_TYPEMISMATCH;
  return ToNumber(value.Get(), lcid, number);
}

}  // namespace

ArrayArgument::~ArrayArgument() noexcept(false) {
  if (object_) platform::CallOutToClient([this] { return object_.Detach()->Release(); });
}

HRESULT ArrayArgument::Bind(VARIANTARG& given, std::int32_t count, LCID lcid) {
  const auto type = static_cast<VARTYPE>(V_VT(&given) & VT_TYPEMASK);
  HRESULT result = DISP_E_TYPEMISMATCH;
  if (V_ISARRAY(&given)) {
    result = BindArray(type, V_ISBYREF(&given) ? V_ARRAYREF(&given) : &V_ARRAY(&given));
  } else if (type == VT_DISPATCH) {
    result = BindObject(V_ISBYREF(&given) ? *V_DISPATCHREF(&given) : V_DISPATCH(&given), lcid);
  }
  const std::int32_t end = std::min(count, telic2::kMostMessages);
  for (std::int32_t i = 0; i < end && SUCCEEDED(result); ++i) {
    if (copy_.Holds(i)) result = Convert(static_cast<std::size_t>(i), lcid);
  }
  return result;
}

HRESULT ArrayArgument::BindArray(VARTYPE type, SAFEARRAY** array) {
  if (type != VT_I4 && type != VT_VARIANT) return DISP_E_TYPEMISMATCH;
  // An array without dimensions has no descriptor; the procedure judges it.
  if (*array == nullptr) return S_OK;
  const ULONG size = type == VT_I4 ? sizeof(LONG) : sizeof(VARIANT);
  if (!HoldsElementsOf(type, size, *array)) return DISP_E_TYPEMISMATCH;
  if (type == VT_I4) {
    numbers_.emplace(array);
  } else {
    variants_.emplace(*array);
    const std::int64_t first = variants_->LowerBound();
    SetBoundsOfCopy(first, first + std::ssize(variants_->Elements<VARIANT>()));
  }
  return S_OK;
}

HRESULT ArrayArgument::BindObject(IDispatch* object, LCID lcid) {
  if (object == nullptr) return DISP_E_TYPEMISMATCH;
  const platform::ClientCode object_of_the_client;
  object_ = platform::ComPointer<IDispatch>(object);
  std::int32_t length = 0;
  const HRESULT result = ReadMember(object, "length", lcid, length);
  if (SUCCEEDED(result)) SetBoundsOfCopy(0, length);
  return result;
}

void ArrayArgument::SetBoundsOfCopy(std::int64_t first, std::int64_t end) {
  first = std::max<std::int64_t>(first, 0);
  end = std::min<std::int64_t>(end, telic2::kMostMessages);
  if (first >= end) return;
  const auto place = static_cast<std::size_t>(first);
  const auto count = static_cast<std::size_t>(end - first);
  copy_ = LongArray(std::span(entries_).subspan(place, count), static_cast<std::int32_t>(first),
                    std::span(stored_).subspan(place, count));
}

HRESULT ArrayArgument::Convert(std::size_t index, LCID lcid) {
  if (variants_) return ToNumber(&Variant(index), lcid, entries_[index]);
  const std::string name = std::to_string(index);
  const platform::ClientCode object_of_the_client;
  // Else it is undefined, as in the language of the object, and that is 0.
  if (platform::LateLacksMember({object_.Get()}, name)) return S_OK;
  return ReadMember(object_.Get(), name, lcid, entries_[index]);
}

void ArrayArgument::WriteBack() {
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    if (stored_[i]) WriteEntry(i);
  }
}

void ArrayArgument::WriteEntry(std::size_t index) {
  if (variants_) {
    VARIANT number;
    V_VT(&number) = VT_I4;
    V_I4(&number) = entries_[index];
    // What stood there can be an object, which goes.
    const HRESULT result =
        platform::CallOutToClient([&] { return VariantCopy(&Variant(index), &number); });
    if (FAILED(result)) throw ComError{result, "An entry of an array cannot be written"};
  } else {
    const platform::ClientCode object_of_the_client;
    const platform::ClientObject object{object_.Get()};
    const std::string name = std::to_string(index);
    platform::LateEnsureMember(object, name);
    LateBound(object).Let(name, {}, entries_[index]);
  }
}

VARIANT& ArrayArgument::Variant(std::size_t index) const {
  const LONG place = static_cast<LONG>(index) - variants_->LowerBound();
  return variants_->Elements<VARIANT>()[static_cast<std::size_t>(place)];
}

}  // namespace qmzentrel::com
