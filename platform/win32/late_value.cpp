#include "platform/win32/late_value.h"

#include "platform/win32/automation_number.h"
#include "platform/win32/bstr.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/locale.h"
#include "platform/win32/owned_variant.h"
#include "platform/win32/usual_arithmetic.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {
namespace {

constexpr std::int32_t kMemberNotSupported = 438;

LateValue ObjectOf(IUnknown* object) {
  if (object == nullptr) return ObjectValue{};
  if (const auto dispatch = Query<IDispatch>(object, IID_IDispatch)) {
    return ObjectValue{Hold(dispatch.Get())};
  }
  if (Query<IUnknown>(object, IID_IDataObject)) return DataObjectValue{};
  return UnreadableValue{kMemberNotSupported};
}

LateValue StructureOf(IRecordInfo* type) {
  OwnedBstr name;
  if (type != nullptr) type->GetName(name.Receive());
  return StructureValue{WideToUtf8(name.View())};
}

LateValue PlainTextOf(const VARIANT& value) {
  const UsualArithmetic usual;
  OwnedVariant text;
  // Its names of the truth values, not numbers.
  const HRESULT converted = VariantChangeTypeEx(text.Get(), const_cast<VARIANT*>(&value),
                                                kComponentLocale, VARIANT_ALPHABOOL, VT_BSTR);
  if (FAILED(converted)) return UnreadableValue{AutomationNumber(converted)};
  PlainValue plain;
  plain.text = WideToUtf8(ViewOf(V_BSTR(text.Get())));
  return plain;
}

std::optional<ArrayDimension> DimensionOf(SAFEARRAY* array, UINT dimension) {
  LONG lower = 0;
  LONG upper = 0;
  if (FAILED(SafeArrayGetLBound(array, dimension, &lower)) ||
      FAILED(SafeArrayGetUBound(array, dimension, &upper)) || upper < lower) {
    return std::nullopt;
  }
  return ArrayDimension{lower,
                        static_cast<std::uint32_t>(upper) - static_cast<std::uint32_t>(lower) + 1};
}

// `structure` names the type of the elements when they are structures.
LateValue ElementAt(SAFEARRAY* array, VARTYPE type, LONG* indices, const LateValue& structure) {
  if (type == VT_RECORD) return structure;
  OwnedVariant element;
  void* place = &V_I1(element.Get());
  if (type == VT_VARIANT) place = element.Get();
  if (type == VT_DECIMAL) place = &V_DECIMAL(element.Get());
  const HRESULT read = SafeArrayGetElement(array, indices, place);
  if (FAILED(read)) return UnreadableValue{AutomationNumber(read)};
  if (type != VT_VARIANT) V_VT(element.Get()) = type;
  return ToLateValue(*element.Get());
}

// The last index first; false when there is no further place.
bool Advance(std::vector<LONG>& indices, const std::vector<std::optional<ArrayDimension>>& bounds) {
  for (std::size_t i = indices.size(); i-- > 0;) {
    const ArrayDimension& dimension = *bounds[i];
    const auto place =
        static_cast<std::uint32_t>(indices[i]) - static_cast<std::uint32_t>(dimension.lower_bound);
    if (place + 1 < dimension.count) {
      ++indices[i];
      return true;
    }
    indices[i] = dimension.lower_bound;
  }
  return false;
}

LateValue ArrayOf(SAFEARRAY* array, VARTYPE type) {
  ArrayValue value;
  const UINT dimensions = array == nullptr ? 0 : SafeArrayGetDim(array);
  bool readable = dimensions != 0;
  for (UINT dimension = 1; dimension <= dimensions; ++dimension) {
    value.dimensions.push_back(DimensionOf(array, dimension));
    readable = readable && value.dimensions.back().has_value();
  }
  if (!readable || dimensions > kMostDimensions) return value;
  ComPointer<IRecordInfo> record;
  if (type == VT_RECORD && FAILED(SafeArrayGetRecordInfo(array, record.Receive()))) record.Detach();
  const LateValue structure = StructureOf(record.Get());
  std::vector<LONG> indices;
  for (const auto& dimension : value.dimensions) indices.push_back(dimension->lower_bound);
  do {
    value.elements.push_back(ElementAt(array, type, indices.data(), structure));
  } while (Advance(indices, value.dimensions));
  return value;
}

}  // namespace

HeldObject Hold(IDispatch* object) {
  if (object == nullptr) return nullptr;
  object->AddRef();
  return {object, [](void* held) { static_cast<IDispatch*>(held)->Release(); }};
}

LateValue ToLateValue(const VARIANT& value) {
  const VARTYPE type = V_VT(&value);
  const bool by_reference = (type & VT_BYREF) != 0;
  if ((type & VT_ARRAY) != 0) {
    SAFEARRAY* const array = by_reference ? *V_ARRAYREF(&value) : V_ARRAY(&value);
    return ArrayOf(array, static_cast<VARTYPE>(type & VT_TYPEMASK));
  }
  if (by_reference) {
    OwnedVariant held;
    const HRESULT copied = VariantCopyInd(held.Get(), const_cast<VARIANT*>(&value));
    if (FAILED(copied)) return UnreadableValue{AutomationNumber(copied)};
    return ToLateValue(*held.Get());
  }
  switch (type) {
    case VT_EMPTY:
      return {};
    case VT_NULL:
      return NullValue{};
    case VT_BSTR:
      return WideToUtf8(ViewOf(V_BSTR(&value)));
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return ObjectOf(V_UNKNOWN(&value));
    case VT_RECORD:
      return StructureOf(V_RECORDINFO(&value));
    default:
      return PlainTextOf(value);
  }
}

}  // namespace qmzentrel::platform
