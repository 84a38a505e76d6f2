#include "com/server_class.h"

#include <string>

#include "com/module_path.h"
#include "platform/win32/guid_text.h"

namespace qmzentrel::com {

using platform::GuidText;

ClassesKey ServerClass::Key() const {
  return {L"CLSID\\" + GuidText(identifier)};
}

bool ServerClass::IsRegistered() const {
  return !ReadClassesText(Key().Below(L"ProgID")).empty();
}

void ServerClass::Write(ClassesWriter& writer) const {
  const ClassesKey server = Key().Below(L"InprocServer32");
  writer.Write(Key(), L"", programmatic_identifier);
  writer.Write(server, L"", ModulePath());
  writer.Write(server, L"ThreadingModel", threading_model);
  writer.Write(Key().Below(L"ProgID"), L"", programmatic_identifier);
  const ClassesKey name{programmatic_identifier};
  writer.Write(name, L"", programmatic_identifier);
  writer.Write(name.Below(L"CLSID"), L"", GuidText(identifier));
}

void ServerClass::RemoveIdentifier() const {
  RemoveClassesKey(Key());
}

void ServerClass::RemoveProgrammaticIdentifier() const {
  const ClassesKey name{programmatic_identifier};
  const std::wstring owner = ReadClassesText(name.Below(L"CLSID"));
  if (owner.empty() || lstrcmpiW(owner.c_str(), GuidText(identifier).c_str()) == 0) {
    RemoveClassesKey(name);
  }
}

}  // namespace qmzentrel::com
