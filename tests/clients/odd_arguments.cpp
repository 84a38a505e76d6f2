#include "tests/clients/odd_arguments.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include "com/member_types.h"

namespace qmzentrel::clients {
namespace {

using automation::ScriptedObject;

constexpr LONG kLowest = std::numeric_limits<LONG>::min();
constexpr LONG kHighest = std::numeric_limits<LONG>::max();

constexpr LONG kNumbers[] = {0,   1,   2,    3,   4,     5,     7,      8,       9,
                             10,  11,  16,   17,  18,    19,    28,     29,      30,
                             31,  33,  255,  256, 32767, 32768, 65535,  65536,   1000000,
                             127, 128, -128, -1,  -2,    -100,  -32768, kLowest, kHighest};

using namespace std::string_view_literals;
constexpr std::wstring_view kTexts[] = {L""sv,         L" "sv,
                                        L"0"sv,        L"-0.5"sv,
                                        L"1e308"sv,    L"1e999"sv,
                                        L"&HFFFFF"sv,  L"&O7777777"sv,
                                        L"True"sv,     L"perhaps"sv,
                                        L"1"sv,        L"9"sv,
                                        L"10"sv,       L"Interface 3"sv,
                                        L"MIF"sv,      L"TELIC2\\10"sv,
                                        L"..\\.."sv,   L"\\"sv,
                                        L"a\0b"sv,     L"\xD800"sv,
                                        L"\xFFFE"sv,   L"\x0131\x0130"sv,
                                        L"%s%n%x"sv,   L"<&>\r\n"sv,
                                        L"Software"sv, L"HKEY_LOCAL_MACHINE"sv};

// Not only those that exist.
constexpr VARTYPE kTypes[] = {VT_EMPTY,   VT_NULL,   VT_I2,        VT_I4,      VT_R4,
                              VT_R8,      VT_CY,     VT_DATE,      VT_BSTR,    VT_DISPATCH,
                              VT_ERROR,   VT_BOOL,   VT_VARIANT,   VT_UNKNOWN, VT_DECIMAL,
                              15,         VT_I1,     VT_UI1,       VT_UI2,     VT_UI4,
                              VT_I8,      VT_UI8,    VT_INT,       VT_UINT,    VT_VOID,
                              VT_HRESULT, VT_PTR,    VT_SAFEARRAY, VT_CARRAY,  VT_USERDEFINED,
                              VT_LPSTR,   VT_LPWSTR, VT_RECORD,    VT_INT_PTR, VT_FILETIME,
                              VT_BLOB,    VT_CF,     VT_CLSID,     0x4F,       0xFFF};

constexpr VARTYPE kElements[] = {VT_I2,       VT_I4,      VT_R4,    VT_R8,     VT_CY,
                                 VT_DATE,     VT_BSTR,    VT_ERROR, VT_BOOL,   VT_VARIANT,
                                 VT_DISPATCH, VT_UNKNOWN, VT_I1,    VT_UI1,    VT_UI2,
                                 VT_UI4,      VT_INT,     VT_UINT,  VT_DECIMAL};

constexpr VARTYPE kNumberTypes[] = {VT_I1, VT_UI1,  VT_I2,   VT_UI2,     VT_I4,  VT_UI4,
                                    VT_I8, VT_UI8,  VT_INT,  VT_R4,      VT_R8,  VT_BOOL,
                                    VT_CY, VT_DATE, VT_BSTR, VT_DECIMAL, VT_UINT};

// What objects answer: codes that are known, codes that are not, and successes that are none.
constexpr HRESULT kAnswers[] = {S_OK,
                                S_FALSE,
                                E_FAIL,
                                E_NOTIMPL,
                                E_POINTER,
                                E_UNEXPECTED,
                                E_OUTOFMEMORY,
                                DISP_E_MEMBERNOTFOUND,
                                DISP_E_TYPEMISMATCH,
                                DISP_E_OVERFLOW,
                                DISP_E_BADINDEX,
                                DISP_E_EXCEPTION,
                                static_cast<HRESULT>(0x800AFFFFu),
                                static_cast<HRESULT>(0x80040000u)};

constexpr int kDeepest = 4;

VARIANTARG Nothing() {
  VARIANTARG value;
  std::memset(&value, 0, sizeof value);
  return value;
}

std::string Bytes(const void* from, std::size_t count) {
  return {static_cast<const char*>(from), count};
}

}  // namespace

std::uint64_t Random::Next() {
  // "SplitMix64": one addition and two multiplications, good for any seed.
  state_ += 0x9E3779B97F4A7C15u;
  std::uint64_t mixed = state_;
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
  return mixed ^ (mixed >> 31);
}

// --- Objects ---

OddObjects::OddObjects() {
  const ScriptedObject::Member answer = [this](const ScriptedObject::Use& use) {
    return Answer(use);
  };
  const auto has = [&](ScriptedObject& object, std::initializer_list<const wchar_t*> names) {
    for (const wchar_t* name : names) object.members.emplace_back(name, answer);
  };
  // A bare one, one with a value, one that can be enumerated, a list, and an array of a script.
  objects_[1].default_member = answer;
  objects_[2].default_member = answer;
  objects_[2].enumerator = answer;
  has(objects_[3], {L"Clear", L"AddItem", L"NewIndex", L"ItemData", L"ListCount", L"ListIndex"});
  has(objects_[4], {L"length", L"0", L"1", L"2", L"3", L"5", L"28"});
}

ULONG OddObjects::References() const {
  ULONG references = 0;
  for (const ScriptedObject& object : objects_) references += object.references - 1;
  return references;
}

HRESULT OddObjects::Answer(const ScriptedObject::Use& use) {
  const HRESULT answer = random_->OneIn(4) ? random_->Of(kAnswers) : S_OK;
  if (answer == DISP_E_EXCEPTION && use.info != nullptr) {
    return use.Fail(random_->Of(kAnswers), L"a list", L"what a list says");
  }
  if (FAILED(answer) || use.result == nullptr) return answer;
  switch (random_->Below(5)) {
    case 0:
      return use.GiveText(std::wstring(random_->Of(kTexts)));
    case 1:
      V_VT(use.result) = VT_NULL;
      return answer;
    case 2:
      V_VT(use.result) = VT_DISPATCH;
      V_DISPATCH(use.result) = Draw(*random_);
      V_DISPATCH(use.result)->AddRef();
      return answer;
    default:
      // A list that says it is endless would be gone through to its end.
      return use.GiveShort(static_cast<LRESULT>(random_->Below(40)) - 2);
  }
}

// --- Arguments ---

OddArguments::~OddArguments() {
  for (SAFEARRAY* array : arrays_) SafeArrayDestroy(array);
  for (BSTR text : texts_) SysFreeString(text);
}

LONG OddArguments::Number() {
  if (prefers_messages_ && !random_.OneIn(4)) return static_cast<LONG>(random_.Below(6));
  return random_.OneIn(8) ? static_cast<LONG>(random_.Next()) : random_.Of(kNumbers);
}

BSTR OddArguments::Text() {
  if (random_.OneIn(12)) return nullptr;
  std::wstring text;
  switch (random_.Below(8)) {
    case 0:
      for (std::size_t i = random_.Below(40); i > 0; --i) {
        text += static_cast<wchar_t>(random_.Next());
      }
      break;
    case 1:
      text.assign(random_.OneIn(20) ? 70000 : random_.Below(600), L'x');
      break;
    case 2:
    case 3:
      text = std::to_wstring(Number());
      break;
    default:
      text = random_.Of(kTexts);
      break;
  }
  // Now and then an odd number of bytes.
  const auto bytes = static_cast<UINT>(text.size() * sizeof(wchar_t));
  texts_.push_back(random_.OneIn(30)
                       ? SysAllocStringByteLen(reinterpret_cast<const char*>(text.data()),
                                               bytes == 0 ? 0 : bytes - 1)
                       : SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
  return texts_.back();
}

IDispatch* OddArguments::Object() {
  return random_.OneIn(8) ? nullptr : objects_.Draw(random_);
}

SAFEARRAY* OddArguments::Filled(SAFEARRAY* array, VARTYPE type) {
  if (array == nullptr) return nullptr;
  arrays_.push_back(array);
  ULONG count = 1;
  for (USHORT i = 0; i < array->cDims; ++i) count *= array->rgsabound[i].cElements;
  if (type != VT_I4 && type != VT_VARIANT) return array;
  for (ULONG i = 0; i < count; ++i) {
    if (type == VT_I4) {
      static_cast<LONG*>(array->pvData)[i] = Number();
    } else {
      VARIANT element = Anything(kDeepest - 1);
      VariantCopy(&static_cast<VARIANT*>(array->pvData)[i], &element);
    }
  }
  return array;
}

SAFEARRAY* OddArguments::Array() {
  if (prefers_messages_ && !random_.OneIn(4)) return LongArray();
  if (random_.OneIn(12)) return nullptr;
  if (random_.OneIn(20)) {  // a description without elements
    SAFEARRAY* array = nullptr;
    SafeArrayAllocDescriptor(static_cast<UINT>(1 + random_.Below(3)), &array);
    arrays_.push_back(array);
    return array;
  }
  constexpr LONG kFirst[] = {0, 0, 0, 0, 1, -1, -5, 28, 30, kLowest, kHighest - 64};
  std::array<SAFEARRAYBOUND, 5> bounds{};
  const std::size_t dimensions = random_.OneIn(3) ? 1 + random_.Below(bounds.size()) : 1;
  for (SAFEARRAYBOUND& bound : bounds) {
    bound.lLbound = random_.Of(kFirst);
    bound.cElements = static_cast<ULONG>(random_.Below(dimensions == 1 ? 34 : 4));
  }
  const VARTYPE type = random_.OneIn(2)
                           ? static_cast<VARTYPE>(random_.OneIn(2) ? VT_I4 : VT_VARIANT)
                           : random_.Of(kElements);
  return Filled(SafeArrayCreate(type, static_cast<UINT>(dimensions), bounds.data()), type);
}

SAFEARRAY* OddArguments::LongArray() {
  const auto count = static_cast<ULONG>(random_.Below(34));
  const bool plain = random_.OneIn(2);
  const auto type = static_cast<VARTYPE>(plain ? VT_I4 : VT_VARIANT);
  // Entries that lie before the first one that a command knows of.
  const bool begins_early = prefers_messages_ && random_.OneIn(4);
  const LONG first = begins_early ? -static_cast<LONG>(random_.Below(3)) : 0;
  SAFEARRAY* const array = SafeArrayCreateVector(type, first, count);
  arrays_.push_back(array);
  for (ULONG i = 0; i < count; ++i) {
    // Messages and tests that the catalog has.
    auto number = static_cast<LONG>(random_.Below(20));
    if (prefers_messages_)
      number = static_cast<LONG>(random_.OneIn(12) ? random_.Next() : random_.Below(11) + 8);
    if (plain) {
      static_cast<LONG*>(array->pvData)[i] = number;
    } else {
      VARIANT& element = static_cast<VARIANT*>(array->pvData)[i];
      V_VT(&element) = VT_I4;
      V_I4(&element) = number;
    }
  }
  return array;
}

VARIANTARG OddArguments::Plain(VARTYPE type) {
  VARIANTARG value = Nothing();
  V_VT(&value) = type;
  switch (type) {
    case VT_R4:
      V_R4(&value) = static_cast<float>(Number()) / 2;
      break;
    case VT_R8:
    case VT_DATE:
      V_R8(&value) = random_.OneIn(10) ? 1e300 : Number() / 2.0;
      if (random_.OneIn(20)) V_R8(&value) = std::numeric_limits<double>::quiet_NaN();
      break;
    case VT_I8:
    case VT_UI8:
    case VT_CY:
      V_I8(&value) = Number() * (type == VT_CY ? 10000LL : 1LL);
      break;
    case VT_DECIMAL:
      VarDecFromI4(Number(), &V_DECIMAL(&value));
      V_VT(&value) = VT_DECIMAL;
      break;
    case VT_BOOL:
      V_BOOL(&value) = static_cast<VARIANT_BOOL>(Number());
      break;
    case VT_BSTR:
      V_BSTR(&value) = Text();
      break;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      V_DISPATCH(&value) = Object();
      break;
    case VT_ERROR:
      V_ERROR(&value) = random_.OneIn(2) ? DISP_E_PARAMNOTFOUND : random_.Of(kAnswers);
      break;
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
      V_I4(&value) = Number();
      break;
    default:
      break;  // no value, or one that nobody can make: nothing lies there
  }
  return value;
}

VARIANTARG OddArguments::ReferenceTo(const VARIANTARG& value) {
  VARIANTARG reference = Nothing();
  if (random_.OneIn(3)) {
    V_VT(&reference) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&reference) = &variants_.emplace_back(value);
    // It may refer to itself.
    if (random_.OneIn(30)) variants_.back() = reference;
    return reference;
  }
  V_VT(&reference) = static_cast<VARTYPE>(VT_BYREF | V_VT(&value));
  Place& place = places_.emplace_back();
  if (V_VT(&value) == VT_DECIMAL) {
    std::memcpy(&place, &V_DECIMAL(&value), sizeof(DECIMAL));
  } else {
    std::memcpy(&place, &V_I8(&value), sizeof(LONGLONG));
  }
  V_BYREF(&reference) = &place;
  if (random_.OneIn(12)) V_BYREF(&reference) = nullptr;
  return reference;
}

VARIANTARG OddArguments::Anything(int depth) {
  if (depth < kDeepest && random_.OneIn(4)) {
    const VARIANTARG value = Anything(depth + 1);
    if (!V_ISBYREF(&value) || V_VT(&value) == (VT_BYREF | VT_VARIANT)) {
      if (!V_ISBYREF(&value)) return ReferenceTo(value);
      VARIANTARG reference = Nothing();
      V_VT(&reference) = VT_BYREF | VT_VARIANT;
      V_VARIANTREF(&reference) = &variants_.emplace_back(value);
      return reference;
    }
    return value;
  }
  if (depth < kDeepest - 1 && random_.OneIn(4)) {
    VARIANTARG value = Nothing();
    V_ARRAY(&value) = Array();
    VARTYPE held = VT_EMPTY;
    if (V_ARRAY(&value) != nullptr) SafeArrayGetVartype(V_ARRAY(&value), &held);
    // The type may say other than the array.
    if (held == VT_EMPTY || random_.OneIn(8)) held = random_.Of(kElements);
    V_VT(&value) = static_cast<VARTYPE>(VT_ARRAY | held);
    return value;
  }
  VARIANTARG value = Plain(random_.Of(kTypes));
  // A type that there is with a mark that there is not.
  if (random_.OneIn(60)) V_VT(&value) = static_cast<VARTYPE>(V_VT(&value) | VT_VECTOR);
  if (random_.OneIn(60)) V_VT(&value) = static_cast<VARTYPE>(V_VT(&value) | VT_RESERVED);
  return value;
}

VARIANTARG OddArguments::SuchAs(VARTYPE type) {
  if (random_.OneIn(4)) return Anything();
  VARIANTARG value = Nothing();
  switch (type) {
    case VT_BSTR:
      value = Plain(VT_BSTR);
      break;
    case com::kObjectByReference:
      value = Plain(VT_DISPATCH);
      break;
    case com::kLongArrayByReference:
      if (random_.OneIn(5)) {
        value = Plain(VT_DISPATCH);
        break;
      }
      V_ARRAY(&value) = LongArray();
      V_VT(&value) = static_cast<VARTYPE>(
          VT_ARRAY | ((V_ARRAY(&value)->fFeatures & FADF_VARIANT) != 0 ? VT_VARIANT : VT_I4));
      break;
    default:
      value = Plain(random_.Of(kNumberTypes));
      break;
  }
  return random_.OneIn(3) ? ReferenceTo(value) : value;
}

SAFEARRAY** OddArguments::Variable(SAFEARRAY* array) {
  if (random_.OneIn(20)) return nullptr;
  VARIANT& variable = variants_.emplace_back(Nothing());
  V_ARRAY(&variable) = array;
  return &V_ARRAY(&variable);
}

IDispatch** OddArguments::Variable(IDispatch* object) {
  if (random_.OneIn(20)) return nullptr;
  VARIANT& variable = variants_.emplace_back(Nothing());
  V_DISPATCH(&variable) = object;
  return &V_DISPATCH(&variable);
}

std::vector<std::string> OddArguments::Record(const SAFEARRAY* stored, std::size_t elements) const {
  std::vector<std::string> record{Bytes(list.data(), list.size() * sizeof(VARIANTARG))};
  if (stored == nullptr) record.push_back(std::to_string(objects_.References()) + " references");
  for (const VARIANT& value : variants_) record.push_back(Bytes(&value, sizeof value));
  for (const Place& place : places_) record.push_back(Bytes(&place, sizeof place));
  for (BSTR text : texts_) record.push_back(Bytes(text, SysStringByteLen(text) + sizeof *text));
  for (SAFEARRAY* array : arrays_) {
    const std::size_t bounds = array->cDims * sizeof(SAFEARRAYBOUND);
    record.push_back(Bytes(array, offsetof(SAFEARRAY, rgsabound) + bounds));
    std::size_t count = array->pvData == nullptr ? 0 : 1;
    for (USHORT i = 0; i < array->cDims; ++i) count *= array->rgsabound[i].cElements;
    const std::size_t left_out = array == stored ? std::min(elements, count) : 0;
    record.push_back(Bytes(static_cast<const char*>(array->pvData) + left_out * array->cbElements,
                           (count - left_out) * array->cbElements));
  }
  return record;
}

std::string Shown(const VARIANT& value, int depth) {
  char text[64];
  const VARTYPE type = V_VT(&value);
  std::snprintf(text, sizeof text, "%04x:", type);
  std::string shown = text;
  if ((type & VT_BYREF) != 0 && V_BYREF(&value) == nullptr) return shown + "null";
  if (type == (VT_BYREF | VT_VARIANT)) {
    return depth < kDeepest + 1 ? shown + Shown(*V_VARIANTREF(&value), depth + 1) : shown + "...";
  }
  const void* const place = (type & VT_BYREF) != 0 ? V_BYREF(&value) : &V_I4(&value);
  if ((type & VT_ARRAY) != 0) {
    const auto* const array = *static_cast<SAFEARRAY* const*>(place);
    if (array == nullptr) return shown + "null";
    std::snprintf(text, sizeof text, "features %04x of %lu", array->fFeatures, array->cbElements);
    shown += text;
    for (USHORT i = array->cDims; i > 0; --i) {
      const SAFEARRAYBOUND& bound = array->rgsabound[i - 1];
      std::snprintf(text, sizeof text, "[%lu from %ld]", bound.cElements, bound.lLbound);
      shown += text;
    }
    return shown;
  }
  if ((type & VT_TYPEMASK) == VT_BSTR) {
    const BSTR content = *static_cast<const BSTR*>(place);
    if (content == nullptr) return shown + "null";
    shown += '"';
    constexpr UINT kMostShown = 60;
    const UINT length = SysStringLen(content);
    for (UINT i = 0; i < length && i < kMostShown; ++i) {
      std::snprintf(text, sizeof text, content[i] > 31 && content[i] < 127 ? "%c" : "\\x%04x",
                    content[i]);
      shown += text;
    }
    return shown + "\" of " + std::to_string(length);
  }
  std::uint32_t words[2];
  std::memcpy(words, place, sizeof words);
  std::snprintf(text, sizeof text, "%08x %08x", words[1], words[0]);
  return shown + text;
}

}  // namespace qmzentrel::clients
