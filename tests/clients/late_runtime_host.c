/* A client without the compiler's run-time libraries that has loaded the library, and with "object"
   made its first object, before a plugin brings them: the plugin's exceptions still come past the
   library. Without an argument runs itself in both ways. */
#include <windows.h>

#include <initguid.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "QmZentrel_h.h"

typedef HRESULT(STDAPICALLTYPE* GetClassObject)(REFCLSID, REFIID, void**);
typedef HRESULT(STDAPICALLTYPE* ThrowFromPlugin)(IUnknown*);

static int Fail(const char* what) {
  puts(what);
  return 1;
}

static _Zentrel* NewObject(HMODULE library) {
  GetClassObject get = (GetClassObject)(void*)GetProcAddress(library, "DllGetClassObject");
  IClassFactory* factory = NULL;
  _Zentrel* zentrel = NULL;
  if (get == NULL || FAILED(get(&CLSID_Zentrel, &IID_IClassFactory, (void**)&factory))) return NULL;
  factory->lpVtbl->CreateInstance(factory, NULL, &IID__Zentrel, (void**)&zentrel);
  factory->lpVtbl->Release(factory);
  return zentrel;
}

static int Run(const char* program, const char* way) {
  char command[MAX_PATH + 16];
  STARTUPINFOA start = {.cb = sizeof start};
  PROCESS_INFORMATION process;
  DWORD code = 1;
  snprintf(command, sizeof command, "\"%s\" %s", program, way);
  if (!CreateProcessA(NULL, command, NULL, NULL, FALSE, 0, NULL, NULL, &start, &process)) return 1;
  WaitForSingleObject(process.hProcess, 60000);
  GetExitCodeProcess(process.hProcess, &code);
  TerminateProcess(process.hProcess, 1);
  if (code != 0) printf("%s: ended with %lx\n", way, code);
  return code != 0;
}

int main(int argument_count, char** arguments) {
  const char* variable = getenv("QMZ_DLL");
  char path[MAX_PATH];
  HMODULE library = NULL;
  HMODULE plugin = NULL;
  IUnknown* first = NULL;
  ThrowFromPlugin throw_from_plugin = NULL;
  const char* way = argument_count > 1 ? arguments[1] : "";
  if (strcmp(way, "module") != 0 && strcmp(way, "object") != 0) {
    GetModuleFileNameA(NULL, path, sizeof path);
    return Run(path, "module") + Run(path, "object");
  }
  if (GetModuleHandleA("libgcc_s_dw2-1.dll") != NULL) return Fail("the run-time is there already");
  if (variable == NULL || FAILED(CoInitialize(NULL))) return Fail("no library is named");
  snprintf(path, sizeof path, "%s%s", *variable == '/' ? "Z:" : "", variable);
  library = LoadLibraryA(path);
  if (library == NULL) return Fail("cannot load the library");
  if (strcmp(way, "object") == 0) {
    first = (IUnknown*)NewObject(library);
    if (first == NULL) return Fail("no object");
  }
  plugin = LoadLibraryA("late_runtime_plugin.dll");
  if (plugin == NULL) return Fail("cannot load the plugin");
  if (GetModuleHandleA("libgcc_s_dw2-1.dll") == NULL) return Fail("the plugin brings no run-time");
  throw_from_plugin = (ThrowFromPlugin)(void*)GetProcAddress(plugin, "ThrowFromPlugin@4");
  if (throw_from_plugin == NULL) return Fail("not the plugin");
  return FAILED(throw_from_plugin(first));
}
