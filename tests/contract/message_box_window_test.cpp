// What only a real message box can show: whose it is.
#include <windows.h>

#include <gtest/gtest.h>

#include <optional>

#include "platform/message_box.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

const std::string kTitle = "Whose box";

/// A window of the client, the active one.
class ActiveWindow {
 public:
  ActiveWindow()
      : window_(CreateWindowExW(0, L"STATIC", L"Client", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                200, 100, nullptr, nullptr, nullptr, nullptr)) {
    SetActiveWindow(window_);
  }
  ~ActiveWindow() { DestroyWindow(window_); }
  ActiveWindow(const ActiveWindow&) = delete;
  ActiveWindow& operator=(const ActiveWindow&) = delete;

  HWND Get() const { return window_; }

 private:
  HWND window_;
};

struct SeenOwner {
  HWND owner = nullptr;
  bool enabled = true;
};

SeenOwner OwnerOfBox(HWND client) {
  SeenOwner seen;
  // Dispatched by the box, which is up then.
  contract::PostCallLater(200, [&] {
    const HWND box = FindWindowW(L"#32770", L"Whose box");
    seen.owner = box == nullptr ? nullptr : GetWindow(box, GW_OWNER);
    seen.enabled = IsWindowEnabled(client) != FALSE;
    PostMessageW(box, WM_CLOSE, 0, 0);
  });
  EXPECT_TRUE(platform::ShowStopMessage(kTitle, "text"));
  return seen;
}

TEST(MessageBoxWindow, TheBoxBelongsToTheActiveWindowWhichTakesNoInputMeanwhile) {
  const ActiveWindow client;
  const SeenOwner seen = OwnerOfBox(client.Get());
  EXPECT_EQ(seen.owner, client.Get());
  EXPECT_FALSE(seen.enabled);
  EXPECT_TRUE(IsWindowEnabled(client.Get()));
}

TEST(MessageBoxWindow, TheEndOfTheProgramClosesTheBoxOnceAndIsKept) {
  const ActiveWindow client;
  contract::PostCallLater(200, [] { contract::PostQuit(3); });
  const auto seen = contract::MessagesSeen(
      "Nobody closes it", [] { EXPECT_TRUE(platform::ShowStopMessage(kTitle, "text")); });
  EXPECT_TRUE(seen.empty());
  EXPECT_EQ(contract::TakeQuit(), 3);
}

TEST(MessageBoxWindow, WithoutAWindowOfTheClientTheBoxIsItsOwn) {
  const HWND desktop = GetDesktopWindow();
  const SeenOwner seen = OwnerOfBox(desktop);
  EXPECT_TRUE(seen.owner == nullptr || seen.owner == desktop);
}

}  // namespace
}  // namespace qmzentrel
