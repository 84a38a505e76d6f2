#include "platform/win32/visual_styles.h"

// After <windows.h>, which it needs.
#include <commctrl.h>

namespace qmzentrel::platform {
namespace {

// Out of the library that the styles bring with them, or the system's own without them. Loaded here
// and not with this module: a client that shows no dialog does without it. Stays loaded, since its
// windows may be about to go when this module has done with them.
void RegisterControls() {
  const HMODULE library = LoadLibraryW(L"comctl32.dll");
  if (library == nullptr) return;
  const auto initialise = reinterpret_cast<decltype(&InitCommonControlsEx)>(
      reinterpret_cast<void*>(GetProcAddress(library, "InitCommonControlsEx")));
  const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_UPDOWN_CLASS | ICC_BAR_CLASSES};
  if (initialise != nullptr) initialise(&controls);
}

}  // namespace

VisualStyles::VisualStyles(HMODULE module, WORD manifest) {
  ACTCTXW context{};
  context.cbSize = sizeof context;
  context.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
  context.hModule = module;
  context.lpResourceName = MAKEINTRESOURCEW(manifest);
  context_ = CreateActCtxW(&context);
}

VisualStyles::~VisualStyles() {
  if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
}

VisualStyles::ForNewWindows::ForNewWindows(const VisualStyles& styles)
    : active_(styles.context_ != INVALID_HANDLE_VALUE &&
              ActivateActCtx(styles.context_, &cookie_) != FALSE) {
  RegisterControls();
}

VisualStyles::ForNewWindows::~ForNewWindows() {
  if (active_) DeactivateActCtx(0, cookie_);
}

}  // namespace qmzentrel::platform
