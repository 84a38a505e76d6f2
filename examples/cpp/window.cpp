// A window that stays alive while a transponder is read, which may take most of a minute: the box
// belongs to a thread of its own, the window shows the time, and can stop after the step at work.
//
//   window PORT
//
// PORT is the number of the COM port with the box. Built with the folder `include` of the
// development kit, for 32-bit Windows:
//
//   i686-w64-mingw32-g++ -std=c++17 -static -mwindows -Iinclude window.cpp -lole32 -loleaut32
//   cl /std:c++17 /EHsc /Iinclude window.cpp ole32.lib oleaut32.lib user32.lib
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>

#include "zentrel.hpp"

namespace {

enum Control : int { kRead = 100, kStop, kText };

/// From the thread of the box to the window; the text is the window's to delete.
constexpr UINT kStepBegun = WM_APP;        // wParam: text of the step
constexpr UINT kReadEnded = WM_APP + 1;    // wParam: text of the outcome; the next can begin
constexpr UINT kThreadEnded = WM_APP + 2;  // wParam: text of the reason
/// To the thread of the box.
constexpr UINT kReadWanted = WM_APP;

/// What both threads know.
struct Shared {
  HWND window = nullptr;
  long port = 0;
  std::atomic<bool> stop{false};
};

void Tell(const Shared& shared, UINT message, const std::wstring& text) {
  auto copy = std::make_unique<std::wstring>(text);
  if (PostMessageW(shared.window, message, reinterpret_cast<WPARAM>(copy.get()), 0) != 0) {
    static_cast<void>(copy.release());  // the window has it
  }
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

/// One read, step by step. A call cannot be broken off: between two calls the wish to stop is
/// heard.
std::wstring Read(const Shared& shared, const zentrel::Object& box) {
  const auto step = [&](const wchar_t* name) {
    if (shared.stop) return false;
    Tell(shared, kStepBegun, name);
    return true;
  };
  const auto failed = [&](ZentrelStatus status) {
    return L"Failed: " + box.Call(&_Zentrel::Status, status);
  };

  if (!step(L"Opening the port")) return L"Stopped";
  ZentrelStatus status = box.Call(&_Zentrel::DeviceOpen, shared.port, true);
  if (status != S_OKAY) return failed(status);
  if (!step(L"Starting the box")) return L"Stopped";
  status = box.Call(&_Zentrel::DeviceInit);
  if (status != S_OKAY && status != S_BAD_PORT) return failed(status);  // that is the simulator
  if (!step(L"Reading")) return L"Stopped";
  status = box.Call(&_Zentrel::ReadXpdr);
  if (status != S_OKAY) return failed(status);
  return L"Reading " + std::to_wstring(box.Call(&_Zentrel::get_Reading)) + L", utility code " +
         std::to_wstring(box.Call(&_Zentrel::get_Util));
}

/// The home of the box: an apartment with a message loop, as its events and its waits need.
DWORD WINAPI WorkWithTheBox(void* context) {
  const Shared& shared = *static_cast<const Shared*>(context);
  try {
    const zentrel::Apartment apartment;
    const zentrel::Object box;
    // Makes the queue that wishes are posted to, before there can be any.
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    Tell(shared, kReadEnded, L"Ready");
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      if (message.hwnd == nullptr && message.message == kReadWanted) {
        std::wstring outcome = Read(shared, box);
        box.Call(&_Zentrel::DeviceClose);
        Tell(shared, kReadEnded, outcome);
      } else {
        DispatchMessageW(&message);
      }
    }
  } catch (const zentrel::Error& error) {
    Tell(shared, kThreadEnded,
         L"Failed: " +
             (error.description.empty() ? L"is the component registered?" : error.description));
  }
  return 0;
}

class Window {
 public:
  explicit Window(long port) {
    shared_.port = port;
    WNDCLASSW kind{};
    kind.lpfnWndProc = Procedure;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
    kind.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    kind.lpszClassName = L"ZentrelReader";
    RegisterClassW(&kind);
    shared_.window = CreateWindowW(kind.lpszClassName, L"Zentrel", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                   CW_USEDEFAULT, CW_USEDEFAULT, 360, 140, nullptr, nullptr,
                                   kind.hInstance, this);
    Add(L"STATIC", L"", kText, 10, 10, 320);
    Add(L"BUTTON", L"Read", kRead, 10, 50, 100);
    Add(L"BUTTON", L"Stop after this step", kStop, 120, 50, 200);
    EnableWindow(GetDlgItem(shared_.window, kRead), FALSE);  // until the thread is ready
    EnableWindow(GetDlgItem(shared_.window, kStop), FALSE);
    thread_ = CreateThread(nullptr, 0, WorkWithTheBox, &shared_, 0, &thread_id_);
  }
  /// The step at work is waited for: the port is closed by the thread that opened it.
  ~Window() {
    shared_.stop = true;
    PostThreadMessageW(thread_id_, WM_QUIT, 0, 0);
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
  }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

 private:
  void Add(const wchar_t* kind, const wchar_t* text, Control id, int left, int top,
           int width) const {
    CreateWindowW(kind, text, WS_CHILD | WS_VISIBLE, left, top, width, 25, shared_.window,
                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  }
  void Show(const std::wstring& text) const {
    SetDlgItemTextW(shared_.window, kText, text.c_str());
  }
  void ShowTime() const {
    Show(step_ + L": " + std::to_wstring((GetTickCount() - begun_) / 1000) + L" s");
  }
  void SetAtWork(bool at_work) const {
    EnableWindow(GetDlgItem(shared_.window, kRead), at_work ? FALSE : TRUE);
    EnableWindow(GetDlgItem(shared_.window, kStop), at_work ? TRUE : FALSE);
  }

  void Command(int id) {
    if (id == kRead) {
      shared_.stop = false;
      begun_ = GetTickCount();
      SetAtWork(true);
      SetTimer(shared_.window, 1, 200, nullptr);
      PostThreadMessageW(thread_id_, kReadWanted, 0, 0);
    } else if (id == kStop) {
      shared_.stop = true;
      Show(L"Stopping after: " + step_);
      KillTimer(shared_.window, 1);
    }
  }

  LRESULT Handle(HWND window, UINT message, WPARAM wide, LPARAM more) {
    switch (message) {
      case WM_COMMAND:
        Command(LOWORD(wide));
        return 0;
      case WM_TIMER:
        ShowTime();
        return 0;
      case kStepBegun: {
        const std::unique_ptr<std::wstring> text(reinterpret_cast<std::wstring*>(wide));
        step_ = *text;
        ShowTime();
        return 0;
      }
      case kReadEnded:
      case kThreadEnded: {
        const std::unique_ptr<std::wstring> text(reinterpret_cast<std::wstring*>(wide));
        KillTimer(window, 1);
        SetAtWork(false);
        if (message == kThreadEnded) EnableWindow(GetDlgItem(window, kRead), FALSE);
        Show(*text);
        return 0;
      }
      case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
      default:
        return DefWindowProcW(window, message, wide, more);
    }
  }

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM more) {
    if (message == WM_NCCREATE) {
      const auto* made = reinterpret_cast<const CREATESTRUCTW*>(more);
      SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(made->lpCreateParams));
    }
    auto* self = reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self == nullptr ? DefWindowProcW(window, message, wide, more)
                           : self->Handle(window, message, wide, more);
  }

  Shared shared_;
  HANDLE thread_ = nullptr;
  DWORD thread_id_ = 0;
  std::wstring step_;
  DWORD begun_ = 0;
};

}  // namespace

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the system's are shouted
int WINAPI WinMain(HINSTANCE /*instance*/, HINSTANCE /*earlier*/, LPSTR command_line,
                   int /*show*/) {
  const long port = std::strtol(command_line, nullptr, 10);
  if (port <= 0) {
    MessageBoxW(nullptr, L"Usage: window PORT", L"Zentrel", MB_OK);
    return EXIT_FAILURE;
  }
  const Window window(port);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    // The tab key and the like.
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return EXIT_SUCCESS;
}
