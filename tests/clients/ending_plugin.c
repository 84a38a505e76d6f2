/* A library of a client that does something in the very end of the process, as one with static
   smart pointers does: these let go of their objects then. It has been loaded before the component,
   so the component's own end comes first. */
#include <windows.h>

static void (*g_at_end)(void);

__declspec(dllexport) void AtProcessEnd(void (*at_end)(void)) {
  g_at_end = at_end;
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* process_ends) {
  (void)module;
  if (reason == DLL_PROCESS_DETACH && process_ends != NULL && g_at_end != NULL) g_at_end();
  return TRUE;
}
