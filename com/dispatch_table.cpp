#include "com/dispatch_table.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "com/member_types.h"

namespace qmzentrel::com {
namespace {

#define PARAMETER(type, name, ...)                                   \
  Parameter {                                                        \
    L"" #name, types::type::kVariant __VA_OPT__(, true, __VA_ARGS__) \
  }
#define ROW(name, id, method, get, let, type, ...) \
  Member{L"" #name, id, method, get, let, types::type::kVariant, {EACH(PARAMETER, __VA_ARGS__)}},
#define METHOD(name, id, type, ...) \
  ROW(name, id, &Procedures::name, nullptr, nullptr, type, __VA_ARGS__)
#define GET(name, id, type, ...) \
  ROW(name, id, nullptr, &Procedures::get_##name, nullptr, type, __VA_ARGS__)
#define LET(name, id, type) ROW(name, id, nullptr, nullptr, &Procedures::put_##name, type)
#define PROPERTY(name, id, type) \
  ROW(name, id, nullptr, &Procedures::get_##name, &Procedures::put_##name, type)
// In the order of the interface.
constexpr std::array kMembers{
#include "com/member_table.inc"
};
#undef ROW
#undef PARAMETER

// --- Finding a row ---

// Letters of names are compared without case and without any locale: no name has others than those
// of ASCII, and a client's Turkish "i" must not make a name unknown.
constexpr wchar_t Folded(wchar_t letter) {
  return letter >= L'A' && letter <= L'Z' ? static_cast<wchar_t>(letter - L'A' + L'a') : letter;
}

// An order that is quick to search: by length, and only then by letters.
constexpr int CompareNames(std::wstring_view left, std::wstring_view right) {
  if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
  for (std::size_t i = 0; i < left.size(); ++i) {
    const int difference = Folded(left[i]) - Folded(right[i]);
    if (difference != 0) return difference;
  }
  return 0;
}

using MemberIndex = std::uint8_t;
constexpr MemberIndex kNoMember = 0xFF;
static_assert(kMembers.size() < kNoMember);

struct NamedMember {
  std::wstring_view name;
  MemberIndex index;
};

consteval auto MembersByName() {
  std::array<NamedMember, kMembers.size()> sorted{};
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    sorted[i] = {kMembers[i].name, static_cast<MemberIndex>(i)};
  }
  std::ranges::sort(sorted, [](const NamedMember& left, const NamedMember& right) {
    return CompareNames(left.name, right.name) < 0;
  });
  return sorted;
}

constexpr auto kByName = MembersByName();

struct Run {
  DISPID first;
  DISPID last;
};

// The identifiers are two short runs of numbers, of the methods and of the properties.
consteval Run RunOf(bool methods) {
  Run run{std::numeric_limits<DISPID>::max(), 0};
  for (const Member& member : kMembers) {
    if ((member.method != nullptr) != methods) continue;
    run = {std::min(run.first, member.id), std::max(run.last, member.id)};
  }
  return run;
}
constexpr Run kMethodIds = RunOf(true);
constexpr Run kPropertyIds = RunOf(false);

template <DISPID kFirst, DISPID kLast>
class MembersById {
 public:
  consteval MembersById() {
    indices_.fill(kNoMember);
    for (std::size_t i = 0; i < kMembers.size(); ++i) {
      if (Covers(kMembers[i].id)) indices_[Place(kMembers[i].id)] = static_cast<MemberIndex>(i);
    }
  }

  constexpr bool Covers(DISPID id) const { return id >= kFirst && id <= kLast; }

  constexpr const Member* Find(DISPID id) const {
    const MemberIndex index = indices_[Place(id)];
    return index == kNoMember ? nullptr : &kMembers[index];
  }

 private:
  static constexpr std::size_t Place(DISPID id) { return static_cast<std::size_t>(id - kFirst); }

  std::array<MemberIndex, static_cast<std::size_t>(kLast - kFirst + 1)> indices_{};
};

constexpr MembersById<kMethodIds.first, kMethodIds.last> kMethods;
constexpr MembersById<kPropertyIds.first, kPropertyIds.last> kProperties;

}  // namespace

const Member* FindMember(DISPID id) {
  if (kProperties.Covers(id)) return kProperties.Find(id);
  if (kMethods.Covers(id)) return kMethods.Find(id);
  return nullptr;
}

const Member* FindMember(std::wstring_view name) {
  std::size_t begin = 0;
  std::size_t end = kByName.size();
  while (begin < end) {
    const std::size_t middle = (begin + end) / 2;
    const int difference = CompareNames(name, kByName[middle].name);
    if (difference == 0) return &kMembers[kByName[middle].index];
    if (difference < 0) {
      end = middle;
    } else {
      begin = middle + 1;
    }
  }
  return nullptr;
}

DISPID FindParameter(const Member& member, std::wstring_view name) {
  const auto parameters = member.Parameters();
  const auto found = std::ranges::find_if(parameters, [name](const Parameter& parameter) {
    return CompareNames(parameter.name, name) == 0;
  });
  return found == parameters.end() ? DISPID_UNKNOWN
                                   : static_cast<DISPID>(found - parameters.begin());
}

}  // namespace qmzentrel::com
