#include "com/registration.h"

#include <array>
#include <string>

#include "QmZentrel_h.h"
#include "com/error_info.h"
#include "com/machine_classes.h"
#include "com/module_path.h"
#include "com/server_class.h"
#include "platform/win32/guid_text.h"

namespace qmzentrel::com {
namespace {

using platform::GuidText;

const ServerClass kClass{CLSID_Zentrel, L"QmZentrel.Zentrel", L"Apartment"};
constexpr const wchar_t* kLibraryVersion = L"1.3";

// The marshallers of automation, which carry an interface between apartments as its type library
// describes it: one that has a table of functions, one that is reached by numbers alone.
constexpr const wchar_t* kInterfaceMarshaller = L"{00020424-0000-0000-C000-000000000046}";
constexpr const wchar_t* kDispatchMarshaller = L"{00020420-0000-0000-C000-000000000046}";

struct Interface {
  const IID& identifier;
  const wchar_t* name;
  const wchar_t* marshaller;
};

const std::array<Interface, 2> kInterfaces{{
    {IID__Zentrel, L"_Zentrel", kInterfaceMarshaller},
    {DIID___Zentrel, L"__Zentrel", kDispatchMarshaller},
}};

// Earlier names of the interface. Their keys send the marshaller on to the present one, and not to
// the type library: there such a name is an alias, without procedures of its own.
const std::array<Interface, 3> kEarlierNames{{
    {IID_Zentrel___v0, L"Zentrel___v0", kInterfaceMarshaller},
    {IID_Zentrel___v1, L"Zentrel___v1", kInterfaceMarshaller},
    {IID_Zentrel___v2, L"Zentrel___v2", kInterfaceMarshaller},
}};

ClassesKey InterfaceKey(const Interface& described, REGSAM view) {
  return {L"Interface\\" + GuidText(described.identifier), view};
}

ClassesKey LibraryKey() {
  return {L"TypeLib\\" + GuidText(LIBID_QmZentrel)};
}

void WriteClass(ClassesWriter& writer) {
  kClass.Write(writer);
  writer.Write(kClass.Key().Below(L"TypeLib"), L"", GuidText(LIBID_QmZentrel));
  writer.Write(kClass.Key().Below(L"Version"), L"", kLibraryVersion);
}

// What RegisterTypeLib writes. It writes to HKEY_CLASSES_ROOT, though, and so to the user who
// registers when he has one of the keys, and it cannot be undone.
void WriteLibrary(ClassesWriter& writer) {
  const std::wstring file = ModulePath();
  const ClassesKey version = LibraryKey().Below(kLibraryVersion);
  writer.Write(version, L"", L"Quenmoor Zentrel Interface DLL");
  writer.Write(version.Below(L"FLAGS"), L"", L"0");
  writer.Write(version.Below(L"HELPDIR"), L"", file.substr(0, file.rfind(L'\\')));
  writer.Write(version.Below(L"409\\win32"), L"", file);
  // For those who ask for it in no locale, as a marshaller between apartments may.
  writer.Write(version.Below(L"0\\win32"), L"", file);
}

ClassesKey WriteInterface(ClassesWriter& writer, const Interface& described, REGSAM view) {
  ClassesKey key = InterfaceKey(described, view);
  writer.Write(key, L"", described.name);
  writer.Write(key.Below(L"ProxyStubClsid32"), L"", described.marshaller);
  return key;
}

// 64-bit clients call through a process that stands between, so their marshallers are asked too.
void WritePresentInterfaces(ClassesWriter& writer) {
  for (const REGSAM view : ClassesViews()) {
    for (const Interface& present : kInterfaces) {
      const ClassesKey key = WriteInterface(writer, present, view);
      writer.Write(key.Below(L"ProxyStubClsid"), L"", present.marshaller);
      const ClassesKey library = key.Below(L"TypeLib");
      writer.Write(library, L"", GuidText(LIBID_QmZentrel));
      writer.Write(library, L"Version", kLibraryVersion);
    }
  }
}

void WriteEarlierNames(ClassesWriter& writer) {
  for (const REGSAM view : ClassesViews()) {
    for (const Interface& earlier : kEarlierNames) {
      const ClassesKey key = WriteInterface(writer, earlier, view);
      writer.Write(key.Below(L"Forward"), L"", GuidText(IID__Zentrel));
    }
  }
}

// Where the system looks how to start a process of its own for the class. Programs of both widths
// see the same key.
ClassesKey ApplicationKey() {
  return {L"AppID\\" + GuidText(kClass.identifier)};
}

void WriteSurrogate(ClassesWriter& writer) {
  if (!kClass.IsRegistered()) {
    throw ComError{REGDB_E_CLASSNOTREG, "The component has to be registered first"};
  }
  writer.Write(ApplicationKey(), L"", kClass.programmatic_identifier);
  writer.Write(ApplicationKey(), L"DllSurrogate", L"");  // none of ours: the system's
  // Where a registration of an earlier version has not: without them nothing passes between.
  WritePresentInterfaces(writer);
  writer.Write(kClass.Key(), L"AppID", GuidText(kClass.identifier));
}

// Each step runs whatever became of the others: what can go, goes.
class Removal {
 public:
  template <class Step>
  void Attempt(Step step) noexcept {
    try {
      step();
    } catch (...) {
      result_ = ReportErrorInProgress();
    }
  }
  HRESULT Result() const { return result_; }

 private:
  HRESULT result_ = S_OK;
};

void RemoveSurrogate(Removal& removal) {
  removal.Attempt([] { RemoveClassesValue(kClass.Key(), L"AppID"); });
  removal.Attempt([] { RemoveClassesKey(ApplicationKey()); });
}

HRESULT WriteAllOrNothing(void (*write)(ClassesWriter&)) noexcept {
  try {
    ClassesWriter writer;
    write(writer);
    writer.Keep();
    return S_OK;
  } catch (...) {
    return ReportErrorInProgress();
  }
}

}  // namespace

HRESULT RegisterComponent() noexcept {
  return WriteAllOrNothing([](ClassesWriter& writer) {
    WriteClass(writer);
    WriteLibrary(writer);
    WritePresentInterfaces(writer);
    WriteEarlierNames(writer);
  });
}

HRESULT UnregisterComponent() noexcept {
  Removal removal;
  RemoveSurrogate(removal);
  const auto remove_interface = [&removal](const Interface& described) {
    for (const REGSAM view : ClassesViews()) {
      removal.Attempt([&] { RemoveClassesKey(InterfaceKey(described, view)); });
    }
  };
  for (const Interface& present : kInterfaces) remove_interface(present);
  for (const Interface& earlier : kEarlierNames) remove_interface(earlier);
  removal.Attempt([] {
    RemoveClassesKey(LibraryKey().Below(kLibraryVersion));
    RemoveEmptyClassesKey(LibraryKey());  // another version of it may be there
  });
  removal.Attempt([] { kClass.RemoveIdentifier(); });
  removal.Attempt([] { kClass.RemoveProgrammaticIdentifier(); });
  return removal.Result();
}

HRESULT RegisterSurrogate() noexcept {
  return WriteAllOrNothing(WriteSurrogate);
}

HRESULT UnregisterSurrogate() noexcept {
  Removal removal;
  RemoveSurrogate(removal);
  return removal.Result();
}

}  // namespace qmzentrel::com
