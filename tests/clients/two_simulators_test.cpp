// Two processes with the simulator switched on, which keep its values in the same place.
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/win32/simulator_dialog_controls.h"
#include "tests/clients/box_client.h"
#include "tests/clients/client_process.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registered_library.h"
#include "tests/clients/sub_device_messages.h"
#include "tests/clients/test_catalog.h"
#include "tools/dialog_driver/dialog_window.h"

namespace qmzentrel::clients {
namespace {

using dialog_driver::DialogWindow;

constexpr DWORD kDialogPatienceMs = 30000;
constexpr LONG kMessage = 17;  // of four bytes
constexpr LONG kOurs = 0x11111111;
constexpr LONG kTheirs = 0x22222222;
constexpr int kExchanges = 50;

bool WriteMessage(_Zentrel* object, LONG value) {
  Messages message({kMessage}, {value});
  return message.Run(object, &_Zentrel::TELIC2Write) == S_OKAY;
}

std::optional<LONG> ReadMessage(_Zentrel* object) {
  Messages message({kMessage}, {-1});
  if (message.Run(object, &_Zentrel::TELIC2Read) != S_OKAY) return std::nullopt;
  return message.Received().front();
}

// What has been read that nobody has written.
std::set<LONG> ExchangeOften(_Zentrel* object, LONG value) {
  std::set<LONG> strange;
  for (int i = 0; i < kExchanges; ++i) {
    if (!WriteMessage(object, value)) strange.insert(-2);
    const LONG read = ReadMessage(object).value_or(-3);
    if (read != kOurs && read != kTheirs) strange.insert(read);
  }
  return strange;
}

// The dialog of that process.
struct Search {
  DWORD process;
  HWND found;
};

__attribute__((force_align_arg_pointer)) BOOL CALLBACK LookAt(HWND window, LPARAM parameter) {
  auto& search = *reinterpret_cast<Search*>(parameter);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != search.process || IsWindowVisible(window) == FALSE) return TRUE;
  wchar_t title[64];
  GetWindowTextW(window, title, 64);
  if (std::wstring(title) != L"Zentrel Simulator - Read") return TRUE;
  search.found = window;
  return FALSE;
}

std::optional<DialogWindow> DialogOf(DWORD process) {
  Search search{process, nullptr};
  const DWORD begin = GetTickCount();
  while (GetTickCount() - begin < kDialogPatienceMs) {
    EnumWindows(LookAt, reinterpret_cast<LPARAM>(&search));
    if (search.found != nullptr) return DialogWindow(search.found);
    Sleep(10);
  }
  return std::nullopt;
}

int PlaySimulatedMessages(const std::vector<std::string>& /*arguments*/) {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return -1;
  const auto object = CreatedZentrel();
  return static_cast<int>(ExchangeOften(object.Get(), kTheirs).size());
}
const ClientPart kSimulatedMessages("simulated-messages", PlaySimulatedMessages);

// Ends with the identifier that its dialog has given.
int PlaySimulatedRead(const std::vector<std::string>& /*arguments*/) {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return -1;
  BoxClient client(CreatedZentrel());
  if (client.Read() != S_OKAY) return -2;
  return static_cast<int>(client.Get(&_Zentrel::get_Xpdr));
}
const ClientPart kSimulatedRead("simulated-read", PlaySimulatedRead);

class TwoSimulators : public WithRegisteredLibrary {
 protected:
  TwoSimulators() {
    catalog.Fill();
    catalog.Simulator(true);
  }

  TestCatalog catalog;
};

TEST_F(TwoSimulators, ReadOnlyWholeValuesOfEachOther) {
  const auto object = NewZentrel();
  ASSERT_TRUE(WriteMessage(object.Get(), kOurs));
  ClientProcess other("simulated-messages");
  const DWORD begin = GetTickCount();
  while (ReadMessage(object.Get()) != kTheirs) {
    ASSERT_LT(GetTickCount() - begin, kDialogPatienceMs) << "the other one has not begun";
  }
  EXPECT_EQ(ExchangeOften(object.Get(), kOurs), std::set<LONG>{});
  EXPECT_EQ(other.ExitCode(), 0U);
  ASSERT_TRUE(WriteMessage(object.Get(), kOurs));
  EXPECT_EQ(ReadMessage(object.Get()), kOurs) << "the last one counts";
}

TEST_F(TwoSimulators, ShowADialogEachAndTheLastOneCounts) {
  constexpr std::int32_t kOurIdentifier = 111111;
  constexpr std::int32_t kTheirIdentifier = 222222;
  ClientProcess other("simulated-read");
  BoxClient client;
  OtherApartment user(COINIT_APARTMENTTHREADED, [&other] {
    const auto ours = DialogOf(GetCurrentProcessId());
    const auto theirs = DialogOf(other.Id());
    EXPECT_TRUE(ours && theirs) << "no dialog";
    if (!theirs && ours) ours->CloseBox();  // or the command would wait for ever
    if (!ours || !theirs) return;
    ours->Choose(IDC_cboMIF, 2);
    ours->Turn(IDC_udXpdr, kOurIdentifier);
    theirs->Choose(IDC_cboMIF, 2);
    theirs->Turn(IDC_udXpdr, kTheirIdentifier);
    theirs->Click(IDC_cmdOK);
    EXPECT_EQ(other.ExitCode(), static_cast<DWORD>(kTheirIdentifier));
    ours->Click(IDC_cmdOK);
    if (ours->WaitUntilGone(kDialogPatienceMs)) return;
    ADD_FAILURE() << "the dialog stays";
    ours->CloseBox();
  });
  EXPECT_EQ(client.Read(), S_OKAY);
  user.Join();
  EXPECT_EQ(client.Get(&_Zentrel::get_Xpdr), kOurIdentifier);

  ClientProcess next("simulated-read");
  const auto dialog = DialogOf(next.Id());
  ASSERT_TRUE(dialog) << "no dialog";
  dialog->Click(IDC_cmdOK);
  EXPECT_EQ(next.ExitCode(), static_cast<DWORD>(kOurIdentifier));
}

}  // namespace
}  // namespace qmzentrel::clients
