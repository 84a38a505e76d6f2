// A program with the component and the manifests of the folder to develop with beside it, on a
// machine that has no registration; so is the example that it starts.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/clients/box_client.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registered_library.h"
#include "tests/com_box/played_box.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kEventPatienceMs = 30000;
// Which no machine has.
constexpr const char* kNoPort = "250";

// Of a module of this process.
std::string FileOf(HMODULE module) {
  char path[MAX_PATH];
  GetModuleFileNameA(module, path, MAX_PATH);
  return path;
}

std::string Beside(const std::string& name) {
  const std::string program = FileOf(nullptr);
  return program.substr(0, program.rfind('\\') + 1) + name;
}

HMODULE LoadedModule() {
  return GetModuleHandleA("QmZentrel.dll");
}

// Where the members of an object are; those of a proxy are the system's.
bool IsOfTheLibrary(_Zentrel* object) {
  HMODULE module = nullptr;
  const auto* const members = *reinterpret_cast<const char* const*>(object);
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      members, &module);
  return LoadedModule() != nullptr && module == LoadedModule();
}

const std::string& Example() {
  static const std::string example = Beside("read_transponder.exe");
  return example;
}

struct Account {
  std::string text;
  DWORD code;

  bool Says(const char* words) const { return text.find(words) != std::string::npos; }
};

// What an example says about that port, which is printed, too.
Account AccountOf(const std::string& example, const std::string& port) {
  const com_box::Process process('"' + example + "\" " + port);
  const Account account{process.RestOfOutput(), process.ExitCode().value_or(~0U)};
  std::printf("%s", account.text.c_str());
  return account;
}

// Else all the others would show nothing.
TEST(RegistrationFree, AProgramWithoutManifestsFindsNoClass) {
  // Under a new name: Windows remembers which programs have no manifest.
  const std::string plain = Beside("plain_" + std::to_string(GetTickCount()) + ".exe");
  ASSERT_TRUE(CopyFileA(Example().c_str(), plain.c_str(), TRUE));
  const Account account = AccountOf(plain, kNoPort);
  DeleteFileA(plain.c_str());
  EXPECT_TRUE(account.Says("80040154"));
  EXPECT_EQ(account.code, 1U);
}

TEST(RegistrationFree, TheExampleMakesItsObjectWithoutABox) {
  const Account account = AccountOf(Example(), kNoPort);
  EXPECT_TRUE(account.Says("Opening the port failed with status"));
  EXPECT_EQ(account.code, 1U);
}

TEST(RegistrationFree, TheExampleReadsABox) {
  const char* const port = std::getenv("QMZ_PORT");
  if (port == nullptr) GTEST_SKIP() << "there are no ports";
  const com_box::PlayedBox box({"set startup-ms 0 util 77 reading 424242 tamper 3"});
  const Account account = AccountOf(Example(), port);
  EXPECT_TRUE(account.Says("The supply is on"));
  EXPECT_TRUE(account.Says("Utility code 77, reading 424242, tamper count 3"));
  EXPECT_TRUE(account.Says("Done."));
  EXPECT_EQ(account.code, 0U);
}

TEST(RegistrationFree, AnObjectIsOfTheLibraryBesideTheProgram) {
  OtherApartment(COINIT_APARTMENTTHREADED, [] {
    auto object = CreatedZentrel();
    ASSERT_TRUE(object);
    EXPECT_TRUE(IsOfTheLibrary(object.Get()));
    EXPECT_STRCASEEQ(FileOf(LoadedModule()).c_str(), Beside("QmZentrel.dll").c_str());
    EXPECT_EQ(BoxClient(std::move(object)).StatusText(S_TIMEOUT), L"Timeout");
  }).Join();
}

TEST(RegistrationFree, AnObjectIsMadeByTheNameOfItsClass) {
  OtherApartment(COINIT_APARTMENTTHREADED, [] {
    // Not that of the class: the system has one of its own for a name in a manifest.
    CLSID id{};
    EXPECT_EQ(CLSIDFromProgID(L"QmZentrel.Zentrel", &id), S_OK);
    ComPointer<IDispatch> object;
    EXPECT_EQ(
        CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.ReceiveVoid()),
        S_OK);
  }).Join();
}

// A client of the multithreaded apartment has its object in another one.
TEST(RegistrationFree, CallsAndEventsPassBetweenApartments) {
  OtherApartment(COINIT_MULTITHREADED, [] {
    auto object = CreatedZentrel();
    ASSERT_TRUE(object);
    EXPECT_FALSE(IsOfTheLibrary(object.Get())) << "it is no proxy";
    BoxClient client(std::move(object));
    client.Let(&_Zentrel::put_Util, 17);
    EXPECT_EQ(client.Get(&_Zentrel::get_Util), 17);
    client.Let(&_Zentrel::put_PowerManagement, false);
    EXPECT_TRUE(PumpUntil([&] { return !client.Events().empty(); }, kEventPatienceMs));
  }).Join();
}

}  // namespace
}  // namespace qmzentrel::clients
