// An array as some script languages make them: an object with a length and a member for each index
// that has been given a value.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/automation/scripted_object.h"
#include "tests/clients/com_client.h"

namespace qmzentrel::clients {

class ScriptArray : public automation::ScriptedObject {
 public:
  explicit ScriptArray(const std::vector<Value>& given, Face face = Face::kDispatchEx)
      : ScriptedObject(face), length(Value::Long(static_cast<LONG>(given.size()))) {
    members.emplace_back(L"length",
                         [this](const Use& use) { return VariantCopy(use.result, &length.Raw()); });
    for (std::size_t i = 0; i < given.size(); ++i) AddMember(std::to_wstring(i), given[i]);
  }

  void AddMember(const std::wstring& name, const Value& value = {}) {
    values[name] = value;
    members.emplace_back(name, [this, name](const Use& use) {
      asked += use.IsLet() ? L"" : name + L" ";
      return use.IsLet() ? VariantCopy(&values[name].Raw(), use.arguments[0])
                         : VariantCopy(use.result, &values[name].Raw());
    });
  }

  STDMETHODIMP GetDispID(BSTR name, DWORD flags, DISPID* id) override {
    const HRESULT found = ScriptedObject::GetDispID(name, flags, id);
    if (SUCCEEDED(found) || (flags & fdexNameEnsure) == 0) return found;
    AddMember(name);
    return ScriptedObject::GetDispID(name, flags, id);
  }

  Value length;
  std::map<std::wstring, Value> values;  ///< by the names of their members
  std::wstring asked;                    ///< names of the members that were read
};

}  // namespace qmzentrel::clients
