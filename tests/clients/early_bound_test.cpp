// Early binding: the slots of the virtual table, and calls from code that keeps less of the stack
// aligned than a compiler likes.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/published_members.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

// IUnknown and IDispatch.
constexpr std::size_t kInheritedSlots = 7;

// Calls `function` with `count` words as arguments, as stdcall, on a stack that is `misalignment`
// bytes (a multiple of 4) off a multiple of 16 before the arguments.
extern "C" HRESULT CallOnStack(const void* function, const std::uint32_t* arguments,
                               std::uint32_t count, std::uint32_t misalignment);
__asm__(
    ".text\n"
    ".globl _CallOnStack\n"
    "_CallOnStack:\n"
    "  pushl %ebp\n"
    "  movl %esp, %ebp\n"
    "  pushl %esi\n"
    "  movl 12(%ebp), %esi\n"
    "  movl 16(%ebp), %ecx\n"
    "  andl $-16, %esp\n"
    "  subl 20(%ebp), %esp\n"
    "1: testl %ecx, %ecx\n"
    "  jz 2f\n"
    "  decl %ecx\n"
    "  pushl (%esi,%ecx,4)\n"
    "  jmp 1b\n"
    "2: call *8(%ebp)\n"
    "  leal -4(%ebp), %esp\n"
    "  popl %esi\n"
    "  popl %ebp\n"
    "  ret\n");

template <class Word>
std::uint32_t AsWord(Word word) {
  // NOLINTNEXTLINE(bugprone-sizeof-expression): an address is a word as well.
  static_assert(sizeof(Word) <= sizeof(std::uint32_t));
  if constexpr (std::is_pointer_v<Word>) {
    return reinterpret_cast<std::uint32_t>(word);
  } else {
    return static_cast<std::uint32_t>(word);
  }
}

// Calls by slot number, as code without our header does.
template <class... Words>
HRESULT CallSlot(IUnknown* object, std::size_t slot, std::uint32_t misalignment, Words... words) {
  const std::array<std::uint32_t, sizeof...(words) + 1> arguments{AsWord(object), AsWord(words)...};
  const void* const* const table = *reinterpret_cast<const void* const* const*>(object);
  return CallOnStack(table[slot], arguments.data(), arguments.size(), misalignment);
}

// The slot of a member's get procedure or method, or of its let procedure.
std::size_t SlotOf(std::wstring_view name, bool let) {
  std::size_t slot = kInheritedSlots;
  for (const PublishedMember& member : kPublishedMembers) {
    if (name == member.name) return slot + (let && member.kind == Kind::kGetLet ? 1 : 0);
    slot += member.kind == Kind::kGetLet ? 2 : 1;
  }
  ADD_FAILURE() << "no such member";
  return 0;
}

class EarlyBound : public testing::Test {
 protected:
  EarlyBound() {
    catalog.Fill();
    zentrel = NewZentrel();
  }

  TestCatalog catalog;
  ComPointer<_Zentrel> zentrel;
};

// --- Slots ---

TEST_F(EarlyBound, HasLeakIsTheFortySixthMember) {
  std::size_t place = 0;
  while (std::wstring_view(kPublishedMembers[place].name) != L"HasLeak") ++place;
  EXPECT_EQ(place + 1, 46u);
  ASSERT_EQ(zentrel->put_HasLeak(VARIANT_TRUE), S_OK);
  VARIANT_BOOL leak = VARIANT_FALSE;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"HasLeak", false), 0, &leak), S_OK);
  EXPECT_EQ(leak, VARIANT_TRUE);
}

// What is let through a slot is read by name, and the other way round: two independent ways to
// every stored number.
TEST_F(EarlyBound, EveryStoredPropertySitsInItsTwoSlots) {
  LONG number = 30;
  for (const PublishedMember& member : kPublishedMembers) {
    if (member.kind != Kind::kGetLet || member.type == VT_BSTR) continue;
    const std::string name(member.name, member.name + std::wcslen(member.name));
    const bool is_boolean = member.type == VT_BOOL;
    const LONG stored = is_boolean ? VARIANT_TRUE : ++number & 0x3F;
    if (is_boolean) Let(zentrel.Get(), member.name, Value::Bool(VARIANT_FALSE));
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(member.name, true), 0, stored), S_OK) << name;
    const Outcome read = Get(zentrel.Get(), member.name);
    EXPECT_EQ(is_boolean ? read.value.AsBool() : read.value.AsLong(), stored) << name;
    LONG answer = 0;
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(member.name, false), 0, &answer), S_OK) << name;
    EXPECT_EQ(is_boolean ? static_cast<SHORT>(answer) : answer, stored) << name;
  }
}

TEST_F(EarlyBound, TheTypeInformationPromisesTheSameSlots) {
  ComPointer<ITypeInfo> info;
  ASSERT_EQ(zentrel->GetTypeInfo(0, kEnglish, info.Receive()), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
  std::size_t seen = 0;
  for (UINT i = 0; i < attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    ASSERT_EQ(info->GetFuncDesc(i, &function), S_OK);
    for (const PublishedMember& member : kPublishedMembers) {
      if (member.id != function->memid) continue;
      const bool let = function->invkind == INVOKE_PROPERTYPUT;
      EXPECT_EQ(static_cast<std::size_t>(function->oVft) / sizeof(void*), SlotOf(member.name, let));
      ++seen;
    }
    info->ReleaseFuncDesc(function);
  }
  info->ReleaseTypeAttr(attributes);
  constexpr std::size_t kProcedures = 81;
  EXPECT_EQ(seen, kProcedures);
}

TEST_F(EarlyBound, TheMethodsSitInTheirSlots) {
  LONG status = -1;
  for (const wchar_t* command :
       {L"BoxStatus", L"ReadXpdr", L"ResetXpdr", L"WriteXpdr", L"DeviceInit"}) {
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(command, false), 0, &status), S_OK);
    EXPECT_EQ(status, S_BAD_PORT);
  }
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"DeviceOpen", false), 0, 0, VARIANT_TRUE, &status),
            S_OK);
  EXPECT_EQ(status, S_BAD_PORT);
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"DeviceClose", false), 0, &status), S_OK);
  EXPECT_EQ(status, S_OKAY);
  BSTR text = nullptr;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"Status", false), 0, 0, &text), S_OK);
  EXPECT_EQ(Taken(text), Call(zentrel.Get(), L"Status", {Value::Long(0)}).value.AsText());
}

TEST_F(EarlyBound, ThePropertiesThatAreOnlyReadOrOnlyLetSitInTheirSlots) {
  ASSERT_EQ(zentrel->put_PLLWarmup(3), S_OK);
  BSTR text = nullptr;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"PLLWarmUpName", false), 0, &text), S_OK);
  EXPECT_EQ(Taken(text), L"0.6 mS");
  for (const wchar_t* version : {L"TravonelVersion", L"ZentrelVersion"}) {
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(version, false), 0, &text), S_OK);
    EXPECT_EQ(Taken(text), L"");
  }
  LONG number = 1;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"ZentrelSignature", false), 0, 1, &number), S_OK);
  EXPECT_EQ(number, 0);
  float volts = 1;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"BatteryVoltage", false), 0, &volts), S_OK);
  EXPECT_EQ(volts, 0.0F);

  const auto container =
      As<IConnectionPointContainer>(zentrel.Get(), IID_IConnectionPointContainer);
  ComPointer<IConnectionPoint> point;
  ASSERT_EQ(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
  ComPointer<EventSink> sink;
  *sink.Receive() = new EventSink;
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink.Get(), &cookie), S_OK);
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"Power", true), 0, VARIANT_FALSE), S_OK);
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"PowerManagement", true), 0, VARIANT_FALSE), S_OK);
  EXPECT_EQ(sink->states, (std::vector<bool>{false, true}));
}

TEST_F(EarlyBound, TheMembersOfTheCatalogsSitInTheirSlots) {
  BSTR text = nullptr;
  for (const wchar_t* name : {L"MIFName", L"TXIName"}) {
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(name, false), 0, &text), S_OK);
    EXPECT_EQ(Taken(text), Get(zentrel.Get(), name).value.AsText());
  }
  const std::wstring root = L"SOFTWARE\\QuenmoorComms\\TELIC2\\Messages";
  BSTR root_key = SysAllocString(root.c_str());
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"Name", false), 0, root_key, 9, &text), S_OK);
  EXPECT_EQ(Taken(text), L"Message 9");
  SysFreeString(root_key);
}

TEST_F(EarlyBound, TheMembersOfSubDevicesSitInTheirSlots) {
  BSTR device = SysAllocString(L"1");
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"TELIC2Device", true), 0, device), S_OK);
  SysFreeString(device);
  EXPECT_EQ(Get(zentrel.Get(), L"TELIC2Device").value.AsText(), L"1");
  BSTR text = nullptr;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"TELIC2Device", false), 0, &text), S_OK);
  EXPECT_EQ(Taken(text), L"1");
  const auto length = [&](const wchar_t* name, LONG message) {
    LONG number = -7;
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(name, false), 0, message, &number), S_OK);
    return number;
  };
  EXPECT_EQ(length(L"TELIC2_Length", 17), 4);
  EXPECT_EQ(length(L"TELIC2Test_RdLength", 0), 2);
  EXPECT_EQ(length(L"TELIC2Test_WrLength", 1), 1);
  IDispatch* nothing = nullptr;
  SHORT filled = 7;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"TELIC2EnumDevices", false), 0, &nothing, &filled),
            S_OK);
  EXPECT_EQ(filled, VARIANT_FALSE);
  for (const wchar_t* name : {L"TELIC2EnumMessages", L"TELIC2EnumTestMessages"}) {
    filled = 7;
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(name, false), 0, &nothing, -1, &filled), S_OK);
    EXPECT_EQ(filled, VARIANT_FALSE);
  }
  SAFEARRAY* ids = nullptr;
  SAFEARRAY* data = nullptr;
  for (const wchar_t* name : {L"TELIC2Read", L"TELIC2Write", L"TELIC2Test"}) {
    LONG status = -1;
    EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(name, false), 0, 0, &ids, &data, &status), S_OK);
    EXPECT_EQ(status, S_BAD_PORT);
  }
}

// --- The stack ---

class MisalignedStack : public EarlyBound, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(MisalignedStack, CallsWorkWithWhateverAlignmentTheCallerHas) {
  const std::uint32_t misalignment = GetParam();
  LONG number = 0;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"VDelay", true), misalignment, 4321), S_OK);
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"VDelay", false), misalignment, &number), S_OK);
  EXPECT_EQ(number, 4321);
  float volts = 1;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"BatteryVoltage", false), misalignment, &volts), S_OK);
  BSTR text = nullptr;
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"PLLWarmUpName", false), misalignment, &text), S_OK);
  EXPECT_EQ(Taken(text), L"0.0 mS");
  LONG status = 0;
  EXPECT_EQ(
      CallSlot(zentrel.Get(), SlotOf(L"DeviceOpen", false), misalignment, 0, VARIANT_TRUE, &status),
      S_OK);
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"ReadXpdr", false), misalignment, &status), S_OK);
  EXPECT_EQ(status, S_BAD_PORT);
  // A fault, with its report and all.
  EXPECT_EQ(CallSlot(zentrel.Get(), SlotOf(L"ZentrelSignature", false), misalignment, 5, &number),
            static_cast<HRESULT>(0x800AFFFFu));
}

TEST_P(MisalignedStack, TheEntriesOfTheLibraryWorkToo) {
  const std::uint32_t misalignment = GetParam();
  ComPointer<IClassFactory> factory;
  const std::uint32_t arguments[] = {AsWord(&CLSID_Zentrel), AsWord(&IID_IClassFactory),
                                     AsWord(factory.ReceiveVoid())};
  const auto* const entry = reinterpret_cast<const void*>(LoadedLibrary().GetClassObject);
  EXPECT_EQ(CallOnStack(entry, arguments, 3, misalignment), S_OK);
  constexpr std::size_t kCreateInstance = 3;
  ComPointer<_Zentrel> created;
  EXPECT_EQ(CallSlot(factory.Get(), kCreateInstance, misalignment, static_cast<void*>(nullptr),
                     &IID__Zentrel, created.ReceiveVoid()),
            S_OK);
  EXPECT_TRUE(created);
}

TEST_P(MisalignedStack, LateBoundCallsWorkToo) {
  constexpr std::size_t kInvoke = 6;
  Value code = Value::Text(L"3");
  DISPPARAMS parameters{&code.Raw(), nullptr, 1, 0};
  Value result;
  EXPECT_EQ(CallSlot(zentrel.Get(), kInvoke, GetParam(), 0x60030027, &IID_NULL, kEnglish,
                     DISPATCH_METHOD, &parameters, &result.Raw(), static_cast<void*>(nullptr),
                     static_cast<void*>(nullptr)),
            S_OK);
  EXPECT_FALSE(result.AsText().empty());
}

// Realigned by the same flag as the library: its procedures may hold nothing that needs alignment
// today, and then no call above could fail.
__attribute__((noinline)) HRESULT __stdcall OffsetOfAlignedLocal() {
  alignas(16) char local[16];
  void* place = local;
  __asm__("" : "+r"(place) : : "memory");  // or the compiler trusts its own promise
  return static_cast<HRESULT>(reinterpret_cast<std::uintptr_t>(place) % 16);
}

TEST_P(MisalignedStack, ALocalThatNeedsAlignmentHasIt) {
  const auto* const entry = reinterpret_cast<const void*>(&OffsetOfAlignedLocal);
  EXPECT_EQ(CallOnStack(entry, nullptr, 0, GetParam()), 0);
}

INSTANTIATE_TEST_SUITE_P(EveryAlignment, MisalignedStack, testing::Values(0u, 4u, 8u, 12u));

}  // namespace
}  // namespace qmzentrel::clients
