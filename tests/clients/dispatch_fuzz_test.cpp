// Calls that no client should make, drawn at random, late bound and early bound: each has to end
// with a code that is documented, has to leave its arguments as they are, and the object has to go
// on. QMZ_FUZZ_CALLS says how many, QMZ_FUZZ_SEED and QMZ_FUZZ_FIRST which; a finding names all
// three.
//
// With the simulator off no command succeeds, for there is no port. With it on commands of messages
// do, and store what they read into the caller's arrays; those that show a dialog are left out.
#include <gtest/gtest.h>
#include <windows.h>

// After it, which they need.
#include <oleauto.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/heap_blocks.h"
#include "tests/clients/odd_arguments.h"
#include "tests/clients/published_members.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFFu);
// Beyond the ports that any machine has.
constexpr LONG kNoPort = 20000;
constexpr LONG kMostPorts = 4096;
// Nothing waits.
constexpr ULONGLONG kLongestCallMs = 10000;

using Finding = std::optional<std::string>;

std::string Narrow(std::wstring_view text) {
  std::string narrow;
  for (const wchar_t letter : text) narrow += letter < 128 ? static_cast<char>(letter) : '?';
  return narrow;
}

std::string Hex(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(number));
  return text;
}

std::uint64_t Setting(const char* variable, std::uint64_t otherwise) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

// --- Where a run is, for a word at its end ---

std::uint64_t g_seed = 0;
std::uint64_t g_call = 0;

std::string Where() {
  return "QMZ_FUZZ_SEED=" + std::to_string(g_seed) + " QMZ_FUZZ_FIRST=" + std::to_string(g_call) +
         " QMZ_FUZZ_CALLS=1";
}

LONG WINAPI SayWhere(EXCEPTION_POINTERS* exception) {
  std::fprintf(stderr, "Exception %s ends the program in the call %s\n",
               Hex(exception->ExceptionRecord->ExceptionCode).c_str(), Where().c_str());
  return EXCEPTION_EXECUTE_HANDLER;
}

// --- What the description says of a call ---

const PublishedMember* MemberOf(DISPID id) {
  const auto found = std::ranges::find(kPublishedMembers, id, &PublishedMember::id);
  return found == kPublishedMembers.end() ? nullptr : &*found;
}

enum class Use { kNone, kRead, kLet };

Use UseOf(const PublishedMember& member, WORD flags) {
  const bool is_method = member.kind == Kind::kMethod;
  const bool reads = member.kind == Kind::kGet || member.kind == Kind::kGetLet;
  const bool lets = member.kind == Kind::kLet || member.kind == Kind::kGetLet;
  if (is_method && (flags & DISPATCH_METHOD) != 0) return Use::kRead;
  if (reads && (flags & DISPATCH_PROPERTYGET) != 0) return Use::kRead;
  if (lets && (flags & DISPATCH_PROPERTYPUT) != 0) return Use::kLet;
  return Use::kNone;
}

// As far as it follows from the shape of a call alone.
std::optional<HRESULT> Refusal(DISPID id, REFIID riid, WORD flags, const DISPPARAMS* parameters) {
  if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (parameters == nullptr || parameters->cNamedArgs > parameters->cArgs ||
      (parameters->cArgs > 0 && parameters->rgvarg == nullptr) ||
      (parameters->cNamedArgs > 0 && parameters->rgdispidNamedArgs == nullptr)) {
    return E_INVALIDARG;
  }
  const PublishedMember* const member = MemberOf(id);
  const Use use = member == nullptr ? Use::kNone : UseOf(*member, flags);
  if (use == Use::kNone) return DISP_E_MEMBERNOTFOUND;
  if (use == Use::kLet) {
    if (parameters->cArgs != 1) return DISP_E_BADPARAMCOUNT;
    if (parameters->cNamedArgs != 1 || parameters->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT) {
      return DISP_E_PARAMNOTFOUND;
    }
  } else if (parameters->cArgs > member->parameters.size() ||
             (parameters->cArgs == 0 && !member->parameters.empty())) {
    return DISP_E_BADPARAMCOUNT;
  }
  return std::nullopt;
}

// What else a late-bound call ends with.
bool IsOfArguments(HRESULT result) {
  constexpr HRESULT kCodes[] = {S_OK,
                                DISP_E_EXCEPTION,
                                DISP_E_TYPEMISMATCH,
                                DISP_E_OVERFLOW,
                                DISP_E_BADVARTYPE,
                                DISP_E_BADPARAMCOUNT,
                                DISP_E_PARAMNOTFOUND,
                                DISP_E_PARAMNOTOPTIONAL,
                                E_OUTOFMEMORY};
  return std::ranges::find(kCodes, result) != std::end(kCodes);
}

// What a procedure itself ends with.
bool IsOfProcedure(HRESULT result) {
  constexpr HRESULT kCodes[] = {kReportedFault, E_POINTER, DISP_E_TYPEMISMATCH};
  return std::ranges::find(kCodes, result) != std::end(kCodes);
}

// --- The early-bound calls ---

SHORT Drawn(com::types::Integer, OddArguments& odd) {
  return static_cast<SHORT>(odd.Number());
}
LONG Drawn(com::types::Long, OddArguments& odd) {
  return odd.Number();
}
::ZentrelStatus Drawn(com::types::ZentrelStatus, OddArguments& odd) {
  return static_cast<::ZentrelStatus>(odd.Number());
}
VARIANT_BOOL Drawn(com::types::Boolean, OddArguments& odd) {
  return static_cast<VARIANT_BOOL>(odd.Number());
}
BSTR Drawn(com::types::String, OddArguments& odd) {
  return odd.Text();
}
SAFEARRAY** Drawn(com::types::Longs, OddArguments& odd) {
  return odd.Variable(odd.Array());
}
IDispatch** Drawn(com::types::Object, OddArguments& odd) {
  return odd.Variable(odd.Object());
}

bool IsPort(LONG number) {
  return number > 0 && number <= kMostPorts;
}

// The value drawn for a parameter: any, but of a port one that there is not.
template <class Given>
Given For(std::string_view /*parameter*/, Given given) {
  return given;
}
LONG For(std::string_view parameter, LONG number) {
  return parameter == "Port" && IsPort(number) ? number + kNoPort : number;
}

// The arguments of a command of messages.
struct MessageArguments {
  LONG count = 0;
  const SAFEARRAY* identifiers = nullptr;  // null for an object that is like an array
  const SAFEARRAY* data = nullptr;

  // How many elements lie before the one after the last entry that the command knows of.
  std::size_t Elements() const {
    return static_cast<std::size_t>(
        std::max(0LL, LONGLONG{count} - LONGLONG{data->rgsabound[0].lLbound}));
  }

  // An entry as the number that it is; nothing where it is something else.
  static std::optional<LONG> Entry(const SAFEARRAY* array, LONG index) {
    if (array == nullptr) return std::nullopt;  // an object of a script has them
    const auto place = static_cast<std::size_t>(LONGLONG{index} - array->rgsabound[0].lLbound);
    if ((array->fFeatures & FADF_VARIANT) == 0)
      return static_cast<const LONG*>(array->pvData)[place];
    const VARIANT& element = static_cast<const VARIANT*>(array->pvData)[place];
    return V_VT(&element) == VT_I4 ? std::optional<LONG>(V_I4(&element)) : std::nullopt;
  }
};

std::vector<std::string> RecordBut(const OddArguments& odd,
                                   const std::optional<MessageArguments>& entries) {
  return entries ? odd.Record(entries->data, entries->Elements()) : odd.Record();
}

// What the simulator has stored for a message; 0 when nothing.
LONG SimulatedMessage(LONG identifier) {
  DWORD number = 0;
  DWORD size = sizeof number;
  RegGetValueW(HKEY_LOCAL_MACHINE,
               L"SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator",
               (L"TELIC2\\" + std::to_wstring(identifier)).c_str(), RRF_RT_REG_DWORD, nullptr,
               &number, &size);
  return static_cast<LONG>(number);
}

struct EarlyOutcome {
  HRESULT result = S_OK;
  LONG status = S_OKAY;
  std::vector<std::string> before;
  std::vector<std::string> before_but_entries;
  std::optional<MessageArguments> messages;
  Finding finding;
};

template <class... Given>
void NoteMessages(EarlyOutcome& /*outcome*/, const std::tuple<Given...>& /*given*/) {}

void NoteMessages(EarlyOutcome& outcome, const std::tuple<LONG, SAFEARRAY**, SAFEARRAY**>& given) {
  const auto& [count, identifiers, data] = given;
  if (identifiers == nullptr || *identifiers == nullptr || data == nullptr || *data == nullptr)
    return;
  outcome.messages = {count, *identifiers, *data};
}

template <class Given>
void TakeAnswer(EarlyOutcome& /*outcome*/, const Given& /*answer*/) {}

void TakeAnswer(EarlyOutcome& outcome, BSTR text) {
  if (text == nullptr) outcome.finding = "no text";
  SysFreeString(text);
}

void TakeAnswer(EarlyOutcome& outcome, ::ZentrelStatus status) {
  outcome.status = status;
}

// `call` calls a procedure that answers to where it is told.
template <class Type, class Call>
void Answered(bool to_nowhere, EarlyOutcome& outcome, Call call) {
  using Given = typename Type::Given;
  Given place;
  std::memset(&place, 0xCD, sizeof place);
  outcome.result = call(to_nowhere ? nullptr : &place);
  if (to_nowhere) {
    if (outcome.result != E_POINTER) outcome.finding = "a result that has nowhere to go";
  } else if (FAILED(outcome.result)) {
    if (place != Given{}) outcome.finding = "a result of a failure";
  } else {
    TakeAnswer(outcome, place);
  }
}

struct EarlyCall {
  const wchar_t* name;
  void (*run)(_Zentrel& object, OddArguments& odd, bool to_nowhere, EarlyOutcome& outcome);
};

#define DRAWN(type, name, ...) For(#name, Drawn(com::types::type(), odd))
#define EARLY(member, ...)                                         \
  EarlyCall{L"" #member, [](_Zentrel & object, OddArguments & odd, \
                            [[maybe_unused]] bool to_nowhere, EarlyOutcome& outcome) __VA_ARGS__},
#define ANSWERED(procedure, type, ...)                                       \
  EARLY(procedure, {                                                         \
    const std::tuple given{EACH(DRAWN, __VA_ARGS__)};                        \
    NoteMessages(outcome, given);                                            \
    outcome.before = odd.Record();                                           \
    outcome.before_but_entries = RecordBut(odd, outcome.messages);           \
    std::apply(                                                              \
        [&](auto... argument) {                                              \
          Answered<com::types::type>(to_nowhere, outcome, [&](auto* place) { \
            return object.procedure(argument..., place);                     \
          });                                                                \
        },                                                                   \
        given);                                                              \
  })
#define METHOD(name, id, type, ...) ANSWERED(name, type, __VA_ARGS__)
#define GET(name, id, type, ...) ANSWERED(get_##name, type, __VA_ARGS__)
#define LET(name, id, type)                            \
  EARLY(put_##name, {                                  \
    const auto given = Drawn(com::types::type(), odd); \
    outcome.before = odd.Record();                     \
    outcome.result = object.put_##name(given);         \
  })
const std::vector<EarlyCall> kEarlyCalls{
#include "com/member_table.inc"
};
#undef ANSWERED
#undef EARLY
#undef DRAWN

// --- One late-bound call ---

// What is drawn while the simulator is on: nothing that waits for somebody to close a dialog, and
// most often a command of messages.
constexpr DISPID kDeviceOpen = 0x60030028;
constexpr const wchar_t* kReadMessages = L"TELIC2Read";
constexpr const wchar_t* kWriteMessages = L"TELIC2Write";
constexpr const wchar_t* kMessageCommands[] = {kReadMessages, kWriteMessages, L"TELIC2Test"};

bool ShowsDialog(std::wstring_view name) {
  return name == L"ReadXpdr" || name == L"WriteXpdr" || name == L"ResetXpdr";
}

bool IsMessageCommand(std::wstring_view name) {
  return std::ranges::find(kMessageCommands, name) != std::end(kMessageCommands);
}

template <class Named>
const Named& DrawnOf(const std::vector<Named>& all, Random& random, bool simulated) {
  if (!simulated) return all[random.Below(all.size())];
  const std::wstring_view wanted =
      random.OneIn(3) ? std::wstring_view() : random.Of(kMessageCommands);
  while (true) {
    const Named& drawn = all[random.Below(all.size())];
    if (wanted.empty() ? !ShowsDialog(drawn.name) : drawn.name == wanted) return drawn;
  }
}

struct LateCall {
  LateCall(Random& random, OddObjects& objects, bool simulated) : odd(random, objects) {
    Draw(random, simulated);
  }

  std::string Shown() const {
    const PublishedMember* const member = MemberOf(id);
    std::string shown = "Invoke " + (member == nullptr ? "" : Narrow(member->name)) + " " +
                        Hex(static_cast<std::uint32_t>(id)) + " flags " + Hex(flags) + " locale " +
                        Hex(lcid);
    for (const VARIANTARG& value : odd.list) shown += "\n  " + clients::Shown(value);
    for (const DISPID name : named) shown += "\n  for " + std::to_string(name);
    return shown;
  }

  OddArguments odd;
  DISPID id = 0;
  IID riid = IID_NULL;
  LCID lcid = kEnglish;
  WORD flags = 0;
  std::vector<DISPID> named;
  DISPPARAMS parameters{};
  DISPPARAMS* given = &parameters;
  bool wants_result = true;
  bool wants_failure = true;
  bool wants_place = true;

 private:
  void Draw(Random& random, bool simulated) {
    constexpr LCID kLocales[] = {kEnglish, kEnglish, kGerman, 0,      0x400,      0x800,
                                 0x7F,     0x0419,   0x041F,  0xFFFF, 0xFFFFFFFF, 0x00010407};
    constexpr WORD kFlags[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 15, 16, 0x4000, 0xFFFF};
    const PublishedMember& member = DrawnOf(kPublishedMembers, random, simulated);
    if (simulated && IsMessageCommand(member.name)) odd.PreferMessages();
    id = member.id;
    if (random.OneIn(30)) id += static_cast<DISPID>(random.Next() % 201) - 100;
    if (random.OneIn(60)) id = static_cast<DISPID>(random.Next());
    if (simulated && MemberOf(id) != nullptr && ShowsDialog(MemberOf(id)->name)) id = member.id;
    if (random.OneIn(60)) riid = random.OneIn(2) ? IID_IDispatch : IID__Zentrel;
    lcid = random.OneIn(20) ? static_cast<LCID>(random.Next()) : random.Of(kLocales);
    const bool lets =
        member.kind == Kind::kLet || (member.kind == Kind::kGetLet && random.OneIn(2));
    constexpr WORD kScriptCall = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
    flags = kScriptCall;
    if (lets) flags = DISPATCH_PROPERTYPUT;
    if (random.OneIn(12)) flags = random.Of(kFlags);
    wants_result = !random.OneIn(8);
    wants_failure = !random.OneIn(8);
    wants_place = !random.OneIn(8);

    std::size_t count = lets ? 1 : member.parameters.size();
    if (count > 0 && random.OneIn(10)) --count;
    if (random.OneIn(20)) count = random.Below(6);
    if (lets) {
      named.push_back(DISPID_PROPERTYPUT);
    } else if (random.OneIn(6)) {
      named.resize(random.Below(count + 1));
      for (DISPID& name : named) name = static_cast<DISPID>(random.Below(count));
    }
    if (random.OneIn(20)) {
      constexpr DISPID kNames[] = {
          0, 1, 2, 3, -1, -3, -4, 0x60030028, static_cast<DISPID>(0x80000000)};
      named.resize(random.Below(4));
      for (DISPID& name : named) name = random.Of(kNames);
    }
    for (std::size_t place = 0; place < count; ++place) {
      odd.list.push_back(lets ? odd.SuchAs(member.type) : ForParameter(member, place, count));
    }
    if (id == kDeviceOpen) {
      for (VARIANTARG& value : odd.list) {
        if (CouldBePort(value)) value = LongValue(kNoPort);
      }
    }
    if (odd.PrefersMessages() && odd.list.size() == 3) {
      VARIANTARG& number = odd.list[PlaceOf(0)];
      const VARIANTARG* const end = EndOf(number);
      if (end != nullptr && IsObject(*end)) number = LongValue(1);
    }
    parameters = {odd.list.data(), named.data(), static_cast<UINT>(odd.list.size()),
                  static_cast<UINT>(named.size())};
    if (random.OneIn(100)) parameters.rgvarg = nullptr;
    if (random.OneIn(100)) parameters.rgdispidNamedArgs = nullptr;
    if (random.OneIn(200)) given = nullptr;
  }

  VARIANTARG ForParameter(const PublishedMember& member, std::size_t place, std::size_t count) {
    const std::size_t parameter =
        place < named.size() ? static_cast<std::size_t>(named[place]) : count - 1 - place;
    return parameter < member.parameters.size() ? odd.SuchAs(member.parameters[parameter].type)
                                                : odd.Anything();
  }

  static VARIANTARG LongValue(LONG number) {
    VARIANTARG value{};
    V_VT(&value) = VT_I4;
    V_I4(&value) = number;
    return value;
  }

  // An object may say one number now and another then.
  bool CouldBePort(VARIANTARG& value) const {
    const VARIANTARG* const end = EndOf(value);
    if (end == nullptr) return false;
    if (IsObject(*end)) return true;
    Value number;
    return SUCCEEDED(
               VariantChangeTypeEx(&number.Raw(), const_cast<VARIANTARG*>(end), lcid, 0, VT_I4)) &&
           IsPort(number.AsLong());
  }

 public:
  // What a read has for such an object is stored through its own code.
  bool StoresIntoObject() const {
    const PublishedMember* const member = MemberOf(id);
    if (member == nullptr || member->name != std::wstring_view(kReadMessages)) return false;
    return odd.list.size() == 3 && EndOf(odd.list[PlaceOf(2)]) != nullptr &&
           IsObject(*EndOf(odd.list[PlaceOf(2)]));
  }

  // The arguments of a command of messages, if it has an array to store into.
  std::optional<MessageArguments> Messages() const {
    const PublishedMember* const member = MemberOf(id);
    if (member == nullptr || !IsMessageCommand(member->name) || odd.list.size() != 3) return {};
    const VARIANTARG* const number = EndOf(odd.list[PlaceOf(0)]);
    MessageArguments arguments;
    Value count;
    if (number == nullptr || FAILED(VariantChangeTypeEx(
                                 &count.Raw(), const_cast<VARIANTARG*>(number), lcid, 0, VT_I4))) {
      return {};
    }
    arguments.count = count.AsLong();
    arguments.identifiers = ArrayIn(EndOf(odd.list[PlaceOf(1)]));
    arguments.data = ArrayIn(EndOf(odd.list[PlaceOf(2)]));
    if (arguments.data == nullptr || arguments.data->cDims != 1) return {};
    return arguments;
  }

 private:
  std::size_t PlaceOf(DISPID parameter) const {
    const auto name = std::ranges::find(named, parameter);
    return name != named.end() ? static_cast<std::size_t>(name - named.begin())
                               : odd.list.size() - 1 - static_cast<std::size_t>(parameter);
  }

  // What references lead to in the end; null where that is nothing.
  static const VARIANTARG* EndOf(const VARIANTARG& value) {
    const VARIANTARG* end = &value;
    for (int depth = 0; V_VT(end) == (VT_BYREF | VT_VARIANT); ++depth) {
      if (depth == kDeepestReference || V_VARIANTREF(end) == nullptr) return nullptr;  // refused
      end = V_VARIANTREF(end);
    }
    return V_ISBYREF(end) && V_BYREF(end) == nullptr ? nullptr : end;
  }

  static bool IsObject(const VARIANTARG& value) {
    const auto type = static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK);
    return type == VT_DISPATCH || type == VT_UNKNOWN;
  }

  static const SAFEARRAY* ArrayIn(const VARIANTARG* value) {
    if (value == nullptr || !V_ISARRAY(value)) return nullptr;
    return V_ISBYREF(value) ? *V_ARRAYREF(value) : V_ARRAY(value);
  }

  static constexpr int kDeepestReference = 3;
};

void Print(const char* what, const std::map<HRESULT, std::uint64_t>& ends) {
  std::printf("%s:", what);
  for (const auto& [code, count] : ends) {
    std::printf(" %s %llu", Hex(static_cast<std::uint32_t>(code)).c_str(),
                static_cast<unsigned long long>(count));
  }
  std::printf("\n");
}

class DispatchFuzz : public testing::Test {
 protected:
  DispatchFuzz() {
    SetUnhandledExceptionFilter(SayWhere);
    Renew();
  }
  ~DispatchFuzz() override { EXPECT_EQ(zentrel_.Detach()->Release(), 0U); }

  // Calls from `first` on; ends at the first finding.
  void Run(std::uint64_t first, std::uint64_t calls) {
    for (g_call = first; g_call < first + calls; ++g_call) {
      // The same arguments, wherever a run begins.
      Random random(g_seed * 0x100000001u + g_call);
      objects_.Follow(random);
      const ULONGLONG begin = GetTickCount64();
      std::string what;
      Finding finding = random.OneIn(3)
                            ? (random.OneIn(4) ? Names(random, what) : Early(random, what))
                            : Late(random, what);
      if (!finding && GetTickCount64() - begin > kLongestCallMs) finding = "it takes for ever";
      if (!finding) finding = AfterAll(random);
      ASSERT_FALSE(finding) << *finding << "\n" << what << "\n" << Where();
    }
  }

  // The calls that the environment names, or some of them; true when they were many and found
  // nothing. Twice the same, so that what is made once is there before it is counted.
  bool RunTwice() {
    g_seed = Setting("QMZ_FUZZ_SEED", 1);
    const std::uint64_t first = Setting("QMZ_FUZZ_FIRST", 0);
    const std::uint64_t calls = Setting("QMZ_FUZZ_CALLS", 12000) / 2 + 1;
    Run(first, calls);
    if (HasFatalFailure()) return false;
    const std::size_t before = BlocksInUse();
    Run(first, calls);
    if (HasFatalFailure()) return false;
    const std::size_t after = BlocksInUse();
    // For what the system may keep for itself; a leak is seen at every call that has it.
    constexpr std::size_t kOfTheMoment = 2;
    EXPECT_LE(after, before + kOfTheMoment) << "QMZ_FUZZ_SEED=" << g_seed;
    Print("late bound", ends_late);
    Print("early bound", ends_early);
    return calls >= 1000;
  }

  // Objects are made anew, with a sink.
  void SwitchSimulatorOn() {
    catalog_.Simulator(true);
    simulated_ = true;
    Renew();
  }

  std::map<HRESULT, std::uint64_t> ends_late;
  std::map<HRESULT, std::uint64_t> ends_early;
  std::uint64_t entries_read = 0;
  std::uint64_t entries_written = 0;
  std::uint64_t events = 0;

 private:
  Finding Late(Random& random, std::string& what) {
    LateCall call(random, objects_, simulated_);
    const auto messages = simulated_ ? call.Messages() : std::nullopt;
    const auto before = call.odd.Record();
    const auto before_but_entries = RecordBut(call.odd, messages);
    constexpr UINT kNoPlace = 0xDEAD;
    UINT place = kNoPlace;
    EXCEPINFO failure{};
    VARIANT result;
    V_VT(&result) = VT_BSTR;  // of which nothing must be freed
    V_BSTR(&result) = reinterpret_cast<BSTR>(static_cast<INT_PTR>(0x1234));
    what = call.Shown();
    const HRESULT ended = zentrel_->Invoke(call.id, call.riid, call.lcid, call.flags, call.given,
                                           call.wants_result ? &result : nullptr,
                                           call.wants_failure ? &failure : nullptr,
                                           call.wants_place ? &place : nullptr);
    what += "\n  ended with " + Hex(static_cast<std::uint32_t>(ended));
    ++ends_late[ended];

    const bool stores = simulated_ && ended == S_OK && messages &&
                        MemberOf(call.id)->name == std::wstring_view(kReadMessages) &&
                        !(call.wants_result && V_I4(&result) != S_OKAY);
    if (stores ? RecordBut(call.odd, messages) != before_but_entries
               : call.odd.Record() != before) {
      return "the arguments are not what they were";
    }
    const auto refusal = Refusal(call.id, call.riid, call.flags, call.given);
    if (refusal && *refusal != ended)
      return "not refused with " + Hex(static_cast<std::uint32_t>(*refusal));
    if (!refusal && !IsOfArguments(ended)) return "no documented code";
    if (!TakenErrorDescription().empty()) return "an error info is left";
    if (place != kNoPlace && place >= call.odd.list.size()) return "a place that there is not";
    const bool of_client = simulated_ && call.StoresIntoObject();
    if (Finding found = WrongFailure(ended, failure, call.wants_failure, of_client)) return found;
    // What is malformed is not even looked at.
    const bool looked_at = ended != DISP_E_UNKNOWNINTERFACE && ended != E_INVALIDARG;
    if (call.wants_result && looked_at) {
      const PublishedMember* const member = MemberOf(call.id);
      const bool answers = ended == S_OK && UseOf(*member, call.flags) == Use::kRead;
      const VARTYPE type = answers ? member->type : VARTYPE{VT_EMPTY};
      if (V_VT(&result) != type) return "a result of another type";
      const LONG open = simulated_ ? S_OKAY : S_BAD_PORT;
      if (answers && call.id == kDeviceOpen && V_I4(&result) != open) return "a port was opened";
      if (answers && messages && V_I4(&result) == S_OKAY) {
        if (Finding found = WrongEntries(MemberOf(call.id)->name, *messages)) return found;
      }
      VariantClear(&result);
    }
    if (call.id == kBoxStatus) Renew();
    return std::nullopt;
  }

  // `of_client`: it may be that of an object of the client's, in that object's own words.
  Finding WrongFailure(HRESULT ended, EXCEPINFO& failure, bool wanted, bool of_client) {
    const std::wstring source = Taken(failure.bstrSource);
    const std::wstring description = Taken(failure.bstrDescription);
    const bool whole = failure.wCode == 0 && failure.bstrHelpFile == nullptr &&
                       failure.pfnDeferredFillIn == nullptr;
    if (ended != DISP_E_EXCEPTION || !wanted) {
      if (failure.scode != S_OK || !whole || !source.empty()) return "a failure that is none";
      // Of one that nobody wants to hear of only the report could tell what it was.
      return ended == DISP_E_EXCEPTION ? OfProcessor(reports_.Take()) : WrongReports(ended);
    }
    const bool is_documented = IsOfProcedure(failure.scode) || (of_client && FAILED(failure.scode));
    if (!whole || !is_documented) return "no documented code of a failure";
    if (source != L"QmZentrel" || (description.empty() && !of_client))
      return "a failure without words";
    return WrongReports(failure.scode);
  }

  // After a command that was carried out: what was read is what the simulator has, and what was
  // written is what it has now.
  Finding WrongEntries(std::wstring_view command, const MessageArguments& messages) {
    for (LONG i = 0; i < messages.count; ++i) {
      const auto identifier = MessageArguments::Entry(messages.identifiers, i);
      const auto number = MessageArguments::Entry(messages.data, i);
      if (command == kReadMessages && !number) return "an entry that has not been read";
      if (!identifier || !number || IsOverwritten(messages, i)) continue;
      if (command == kReadMessages || command == kWriteMessages) {
        ++(command == kReadMessages ? entries_read : entries_written);
        if (*number != SimulatedMessage(*identifier)) return "not what the simulator has";
      }
    }
    return std::nullopt;
  }

  // By a later entry of the same command.
  static bool IsOverwritten(const MessageArguments& messages, LONG index) {
    const auto identifier = MessageArguments::Entry(messages.identifiers, index);
    for (LONG i = index + 1; i < messages.count; ++i) {
      const auto later = MessageArguments::Entry(messages.identifiers, i);
      if (!later || later == identifier) return true;  // or it may be
    }
    return false;
  }

  // A fault is reported once, and nothing else is.
  Finding WrongReports(HRESULT ended) {
    const auto taken = reports_.Take();
    if (taken.size() != (ended == kReportedFault ? 1U : 0U)) {
      return std::to_string(taken.size()) + " reports";
    }
    return OfProcessor(taken);
  }

  // There is no bad memory, so no fault is of the processor.
  static Finding OfProcessor(const std::vector<ErrorReport>& taken) {
    for (const ErrorReport& report : taken) {
      if (report.source == L"ErrorReportExceptionFilter") {
        return Narrow(report.description) + " in " + Narrow(report.procedure) + ", line " +
               Narrow(report.line);
      }
    }
    return std::nullopt;
  }

  Finding Early(Random& random, std::string& what) {
    OddArguments odd(random, objects_);
    const EarlyCall& call = DrawnOf(kEarlyCalls, random, simulated_);
    if (simulated_ && IsMessageCommand(call.name)) odd.PreferMessages();
    what = Narrow(call.name);
    EarlyOutcome outcome;
    const bool to_nowhere = random.OneIn(20);
    call.run(*zentrel_.Get(), odd, to_nowhere, outcome);
    what += " ended with " + Hex(static_cast<std::uint32_t>(outcome.result));
    ++ends_early[outcome.result];
    if (outcome.finding) return outcome.finding;
    const bool done = simulated_ && outcome.result == S_OK && outcome.status == S_OKAY &&
                      outcome.messages && IsMessageCommand(call.name);
    if (done && call.name == std::wstring_view(kReadMessages)
            ? RecordBut(odd, outcome.messages) != outcome.before_but_entries
            : odd.Record() != outcome.before) {
      return "the arguments are not what they were";
    }
    if (done) {
      if (Finding found = WrongEntries(call.name, *outcome.messages)) return found;
    }
    if (outcome.result != S_OK && !IsOfProcedure(outcome.result)) return "no documented code";
    const bool described = !TakenErrorDescription().empty();
    if (described != FAILED(outcome.result)) return "an error info that does not fit";
    if (Finding found = WrongReports(outcome.result)) return found;
    if (std::wstring_view(call.name) == L"BoxStatus") Renew();
    return std::nullopt;
  }

  Finding Names(Random& random, std::string& what) {
    std::vector<std::wstring> texts(random.Below(5));
    const PublishedMember& member = random.Of(kPublishedMembers);
    std::vector<LPOLESTR> names;
    for (std::wstring& text : texts) {
      text = member.name;
      if (&text != texts.data() && !member.parameters.empty()) {
        text = random.Of(member.parameters).name;
      }
      for (wchar_t& letter : text) {
        if (random.OneIn(3)) letter = static_cast<wchar_t>(std::towupper(letter));
      }
      if (random.OneIn(6)) text.resize(random.Below(text.size() + 1));
      if (random.OneIn(6)) text += static_cast<wchar_t>(random.Next());
      if (random.OneIn(40)) text.append(random.Below(100000), L'n');
      names.push_back(random.OneIn(40) ? nullptr : text.data());
      what += " " + Narrow(text.substr(0, 60));
    }
    const IID riid = random.OneIn(40) ? IID_IDispatch : IID_NULL;
    std::vector<DISPID> ids(names.size(), 0x5A5A);
    const bool nothing = random.OneIn(60);
    const HRESULT ended = zentrel_->GetIDsOfNames(
        riid, nothing ? nullptr : names.data(), static_cast<UINT>(names.size()),
        static_cast<LCID>(random.Next()), nothing ? nullptr : ids.data());
    what = "GetIDsOfNames" + what + " ended with " + Hex(static_cast<std::uint32_t>(ended));
    if (riid != IID_NULL) return Unless(ended == DISP_E_UNKNOWNINTERFACE, "another interface");
    if (names.empty()) return Unless(ended == S_OK, "no names are known");
    if (nothing) return Unless(ended == E_POINTER, "names that are nowhere");
    if (std::ranges::find(names, nullptr) != names.end()) {
      return Unless(ended == E_POINTER, "a name that is nowhere");
    }
    const bool all = std::ranges::find(ids, DISPID_UNKNOWN) == ids.end();
    if (ended != (all ? S_OK : DISP_E_UNKNOWNNAME)) return "names and code do not fit";
    const PublishedMember* const found = ids[0] == DISPID_UNKNOWN ? nullptr : MemberOf(ids[0]);
    if (ids[0] != DISPID_UNKNOWN && (found == nullptr || lstrcmpiW(found->name, names[0]) != 0)) {
      return "another member";
    }
    const auto beyond = [&](DISPID id) {
      return id != DISPID_UNKNOWN && (found == nullptr || id < 0 ||
                                      static_cast<std::size_t>(id) >= found->parameters.size());
    };
    return Unless(std::none_of(ids.begin() + 1, ids.end(), beyond), "a parameter that is none");
  }

  static Finding Unless(bool holds, const char* what) { return holds ? Finding() : Finding(what); }

  // The object goes on, and no later call has anything to wait for.
  Finding AfterAll(Random& random) {
    const auto number = static_cast<LONG>(random.Next());
    LONG kept = 0;
    if (FAILED(zentrel_->put_Util(number)) || FAILED(zentrel_->get_Util(&kept)) || kept != number) {
      return "the object does not answer";
    }
    const Outcome late = InvokeId(zentrel_.Get(), 0x68030016, DISPATCH_PROPERTYGET, {});
    if (late.result != S_OK || late.value.AsLong() != number) return "not late bound";
    if (objects_.References() != 0) return "an object is still held";
    if (FAILED(zentrel_->put_VDelay(0)) || FAILED(zentrel_->put_PowerManagement(VARIANT_FALSE))) {
      return "the supply cannot be kept";
    }
    if (g_call % 512 == 0 && HeapValidate(GetProcessHeap(), 0, nullptr) == FALSE) {
      return "the heap is not whole";
    }
    if (random.OneIn(400)) Renew();
    return std::nullopt;
  }

  // After a Box Status an object waits before it switches the supply on.
  void Renew() {
    if (_Zentrel* const last = zentrel_.Detach()) {
      EXPECT_EQ(last->Release(), 0U);
    }
    zentrel_ = NewZentrel();
    if (simulated_) Attach();
    EXPECT_EQ(zentrel_->put_VDelay(0), S_OK);
    EXPECT_EQ(zentrel_->put_PowerManagement(VARIANT_FALSE), S_OK);
  }

  // Calls the object from within its event.
  void Attach() {
    ComPointer<EventSink> sink;
    *sink.Receive() = new EventSink;
    sink->on_event = [this](EventSink& self, EXCEPINFO*) {
      ++events;
      self.states.clear();
      LONG number = 0;
      return zentrel_->get_Util(&number);
    };
    const auto container =
        As<IConnectionPointContainer>(zentrel_.Get(), IID_IConnectionPointContainer);
    ComPointer<IConnectionPoint> point;
    DWORD cookie = 0;
    EXPECT_EQ(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
    EXPECT_EQ(point->Advise(sink.Get(), &cookie), S_OK);
  }

  static constexpr DISPID kBoxStatus = 0x6003001E;

  ErrorReports reports_;
  FilledTestCatalog catalog_;
  OddObjects objects_;
  bool simulated_ = false;
  ComPointer<_Zentrel> zentrel_;
};

TEST_F(DispatchFuzz, CallsOfAnyKindEndAsDocumentedAndLeaveNothingBehind) {
  if (!RunTwice()) return;
  // It has come as far as it should.
  for (const HRESULT code :
       {S_OK, DISP_E_EXCEPTION, DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_BADVARTYPE,
        DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTFOUND, DISP_E_PARAMNOTOPTIONAL, E_INVALIDARG,
        DISP_E_MEMBERNOTFOUND, DISP_E_UNKNOWNINTERFACE}) {
    EXPECT_GT(ends_late[code], 0U) << Hex(static_cast<std::uint32_t>(code));
  }
  for (const HRESULT code : {S_OK, kReportedFault, E_POINTER, DISP_E_TYPEMISMATCH}) {
    EXPECT_GT(ends_early[code], 0U) << Hex(static_cast<std::uint32_t>(code));
  }
}

TEST_F(DispatchFuzz, CommandsOfTheSimulatorStoreWhatItHasAndNothingElse) {
  SwitchSimulatorOn();
  if (!RunTwice()) return;
  std::printf("entries read %llu, written %llu, events %llu\n", entries_read, entries_written,
              events);
  constexpr std::uint64_t kMany = 100;
  EXPECT_GT(entries_read, kMany);
  EXPECT_GT(entries_written, kMany);
  EXPECT_GT(events, kMany);
}

}  // namespace
}  // namespace qmzentrel::clients
