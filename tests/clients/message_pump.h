// The message loop of a client: single-threaded apartments, timers and events live by it.
#pragma once

#include <windows.h>

#include <functional>

namespace qmzentrel::clients {

/// Dispatches messages until `done`, which is asked after each batch of them and now and then, is
/// true; false when that takes longer than `limit_ms`.
bool PumpUntil(const std::function<bool()>& done, DWORD limit_ms);

/// The same until `handle` is signalled.
bool PumpUntilSignalled(HANDLE handle, DWORD limit_ms);

}  // namespace qmzentrel::clients
