// The simulator's dialog out of the library, with several objects, several apartments and clients
// that let go of their object meanwhile.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/win32/simulator_dialog_controls.h"
#include "tests/automation/read_only_key.h"
#include "tests/clients/com_client.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/test_catalog.h"
#include "tools/dialog_driver/dialog_window.h"

namespace qmzentrel::clients {
namespace {

using dialog_driver::DialogWindow;

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFF);
constexpr const wchar_t* kReadTitle = L"Zentrel Simulator - Read";
constexpr DWORD kPatienceMs = 10000;

class Simulator : public testing::Test {
 protected:
  Simulator() {
    catalog.Fill();
    catalog.Simulator(true);
  }

  static ZentrelStatus BoxStatus(_Zentrel* object) {
    auto status = S_BAD_DATA;  // which no command here answers
    EXPECT_EQ(object->BoxStatus(&status), S_OK);
    return status;
  }

  /// Reads while `user`, on another thread, acts on the dialog.
  static ZentrelStatus Read(_Zentrel* object, std::function<void(DialogWindow)> user) {
    OtherApartment acting(COINIT_APARTMENTTHREADED, [user = std::move(user)] {
      const auto dialog = DialogWindow::WaitFor(kReadTitle, kPatienceMs);
      ASSERT_TRUE(dialog) << "no dialog";
      user(*dialog);
    });
    auto status = S_BAD_DATA;
    EXPECT_EQ(object->ReadXpdr(&status), S_OK);
    acting.Join();
    return status;
  }

  TestCatalog catalog;
};

TEST_F(Simulator, ObjectsOfAProcessShareTheMissingBox) {
  const auto first = NewZentrel();
  const auto second = NewZentrel();
  EXPECT_EQ(Read(first.Get(), [](DialogWindow dialog) { dialog.Click(IDC_cmdNoZentrel); }),
            S_TIMEOUT);
  EXPECT_EQ(BoxStatus(second.Get()), S_TIMEOUT);
  EXPECT_EQ(Read(second.Get(), [](DialogWindow dialog) { dialog.Click(IDC_cmdNoXpdr); }),
            S_TIMEOUT);
  EXPECT_EQ(BoxStatus(first.Get()), S_OKAY);
}

TEST_F(Simulator, AnotherApartmentIsRefusedTheDialogAndStillLearnsOfTheBox) {
  const auto shown = NewZentrel();
  HRESULT refused = S_OK;
  ZentrelStatus box = S_BAD_DATA;
  Read(shown.Get(), [&](DialogWindow dialog) {
    const auto other = NewZentrel();
    ZentrelStatus status = S_BAD_DATA;
    refused = other->ReadXpdr(&status);
    box = BoxStatus(other.Get());
    dialog.Choose(IDC_cboMIF, 2);
    dialog.Click(IDC_cmdOK);
  });
  EXPECT_EQ(refused, kReportedFault);
  EXPECT_EQ(box, S_OKAY);
  LONG mif = 0;
  EXPECT_EQ(shown->get_DeviceMIF(&mif), S_OK);
  EXPECT_EQ(mif & 0x0F, 2) << "the upper bits were never stored and are ticked";
}

TEST_F(Simulator, EachApartmentShowsTheDialogInItsTurn) {
  OtherApartment(COINIT_APARTMENTTHREADED, [] {
    const auto there = NewZentrel();
    EXPECT_EQ(Read(there.Get(), [](DialogWindow dialog) { dialog.Click(IDC_cmdNoXpdr); }),
              S_TIMEOUT);
  }).Join();
  const auto here = NewZentrel();
  EXPECT_EQ(Read(here.Get(), [](DialogWindow dialog) { dialog.CloseBox(); }), S_OKAY);
}

ComPointer<_Zentrel>* g_released = nullptr;
void CALLBACK ReleaseObject(HWND, UINT, UINT_PTR id, DWORD) {
  KillTimer(nullptr, id);
  g_released->Reset();
}

TEST_F(Simulator, AnObjectThatIsReleasedAtTheDialogLivesUntilItsCommandIsOver) {
  ComPointer<_Zentrel> object = NewZentrel();
  g_released = &object;
  _Zentrel* const raw = object.Get();
  constexpr UINT kSoonMs = 50;  // a timer of the client, which ticks within the dialog
  ASSERT_NE(SetTimer(nullptr, 0, kSoonMs, ReleaseObject), 0u);
  EXPECT_EQ(Read(raw,
                 [&object](DialogWindow dialog) {
                   const DWORD begin = GetTickCount();
                   while (object && GetTickCount() - begin < kPatienceMs) Sleep(10);
                   EXPECT_FALSE(object) << "the timer has not ticked";
                   dialog.Choose(IDC_cboMIF, 1);
                   dialog.Click(IDC_cmdOK);
                 }),
            S_OKAY);
}

TEST_F(Simulator, AnErrorInItsDialogEndsTheCommandAndNothingElse) {
  ErrorReports reports;
  catalog.Text(L"Kernel\\MIF\\3\\1", L"Ver", L"1.0");
  catalog.Text(L"Kernel\\MIF\\3\\2", L"Ver", L"2.0");
  catalog.Text(L"Kernel\\MIF\\3\\beta", L"Ver", L"3.0");
  const auto object = NewZentrel();
  OtherApartment user(COINIT_APARTMENTTHREADED, [] {
    const auto dialog = DialogWindow::WaitFor(kReadTitle, kPatienceMs);
    ASSERT_TRUE(dialog) << "no dialog";
    dialog->Choose(IDC_cboMIF, 3);
  });
  auto status = S_OKAY;
  EXPECT_EQ(object->ReadXpdr(&status), kReportedFault);
  user.Join();
  const auto taken = reports.Take();
  ASSERT_EQ(taken.size(), 1U);
  EXPECT_EQ(taken.front().number, L"13");
  EXPECT_EQ(Read(object.Get(), [](DialogWindow dialog) { dialog.Click(IDC_cmdNoXpdr); }),
            S_TIMEOUT);
}

TEST_F(Simulator, SaysFromTheFirstDialogOnThatValuesCannotBeStored) {
  const auto notice = [] {
    std::wstring shown;
    const auto object = NewZentrel();
    Read(object.Get(), [&shown](DialogWindow dialog) {
      if (dialog.IsVisible(IDC_lblNotice)) shown = dialog.Text(IDC_lblNotice);
      dialog.Click(IDC_cmdNoZentrel);
    });
    return shown;
  };
  EXPECT_EQ(notice(), L"");
  const automation::ReadOnlyKey read_only(
      L"SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator");
  EXPECT_NE(notice().find(L"cannot be stored"), std::wstring::npos);
}

TEST_F(Simulator, SwitchedOffItAsksThePort) {
  catalog.Simulator(false);
  const auto object = NewZentrel();
  auto status = S_OKAY;
  EXPECT_EQ(object->ReadXpdr(&status), S_OK);
  EXPECT_EQ(status, S_BAD_PORT);
}

}  // namespace
}  // namespace qmzentrel::clients
