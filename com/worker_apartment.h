// An apartment for one object alone, in a process that has objects of several clients.
#pragma once

#include <windows.h>

namespace qmzentrel::com {

/// Makes an object of the class on a thread of its own, whose message loop serves it until it has
/// gone, and hands out what the calling apartment reaches it by. A command that waits for its box
/// holds up no other object then.
HRESULT CreateInWorkerApartment(REFIID riid, void** object) noexcept;

}  // namespace qmzentrel::com
