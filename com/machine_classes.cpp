#include "com/machine_classes.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "com/error_info.h"
#include "platform/win32/both_widths.h"
#include "platform/win32/registry_key.h"

namespace qmzentrel::com {
namespace {

using platform::OwnedRegistryKey;

constexpr wchar_t kClasses[] = L"Software\\Classes\\";
constexpr std::size_t kClassesLength = std::size(kClasses) - 1;

void Require(LSTATUS result) {
  if (result == ERROR_SUCCESS) return;
  throw ComError{HRESULT_FROM_WIN32(static_cast<DWORD>(result)),
                 result == ERROR_ACCESS_DENIED ? "Registering needs the rights of an administrator"
                                               : "The registry refuses an entry of the component"};
}

std::wstring FullPath(const ClassesKey& key) {
  return kClasses + key.path;
}

LSTATUS Open(OwnedRegistryKey& key, const std::wstring& path, REGSAM access) noexcept {
  return key.Open(HKEY_LOCAL_MACHINE, path.c_str(), access);
}

}  // namespace

std::vector<REGSAM> ClassesViews() {
  if (!platform::HasBothWidths()) return {0};
  return {0, KEY_WOW64_64KEY};
}

ClassesWriter::~ClassesWriter() {
  // The last one first.
  for (; !changes_.empty(); changes_.pop_back()) {
    std::visit([](const auto& made) { TakeBack(made); }, changes_.back());
  }
}

void ClassesWriter::Write(const ClassesKey& key, const std::wstring& name,
                          const std::wstring& text) {
  const std::wstring path = FullPath(key);
  // One by one: the registry does not tell which of them were missing.
  for (std::size_t end = kClassesLength; end < path.size(); ++end) {
    end = std::min(path.find(L'\\', end), path.size());
    CreateKey(path.substr(0, end), key.view);
  }
  WriteValue({.path = path, .view = key.view, .name = name}, text);
}

void ClassesWriter::CreateKey(const std::wstring& path, REGSAM view) {
  changes_.reserve(changes_.size() + 1);  // what has been done must not fail to be noted
  CreatedKey created{path, view};
  OwnedRegistryKey key;
  DWORD disposition = 0;
  Require(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                          KEY_READ | view, nullptr, key.Receive(), &disposition));
  if (disposition == REG_CREATED_NEW_KEY) changes_.emplace_back(std::move(created));
}

void ClassesWriter::WriteValue(WrittenValue value, const std::wstring& text) {
  changes_.reserve(changes_.size() + 1);
  OwnedRegistryKey key;
  Require(Open(key, value.path, KEY_QUERY_VALUE | KEY_SET_VALUE | value.view));
  DWORD size = 0;
  LSTATUS read = RegQueryValueExW(key.Get(), value.name.c_str(), nullptr, nullptr, nullptr, &size);
  if (read != ERROR_FILE_NOT_FOUND) {
    Require(read);
    value.replaced = true;
    value.old_data.resize(size);
    Require(RegQueryValueExW(key.Get(), value.name.c_str(), nullptr, &value.old_type,
                             value.old_data.data(), &size));
  }
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  Require(RegSetValueExW(key.Get(), value.name.c_str(), 0, REG_SZ,
                         reinterpret_cast<const BYTE*>(text.c_str()), bytes));
  changes_.emplace_back(std::move(value));
}

void ClassesWriter::TakeBack(const CreatedKey& key) noexcept {
  RegDeleteKeyExW(HKEY_LOCAL_MACHINE, key.path.c_str(), key.view, 0);
}

void ClassesWriter::TakeBack(const WrittenValue& value) noexcept {
  OwnedRegistryKey key;
  if (Open(key, value.path, KEY_SET_VALUE | value.view) != ERROR_SUCCESS) return;
  if (value.replaced) {
    RegSetValueExW(key.Get(), value.name.c_str(), 0, value.old_type, value.old_data.data(),
                   static_cast<DWORD>(value.old_data.size()));
  } else {
    RegDeleteValueW(key.Get(), value.name.c_str());
  }
}

std::wstring ReadClassesText(const ClassesKey& key) {
  OwnedRegistryKey opened;
  wchar_t text[128] = {};
  DWORD size = sizeof text - sizeof *text;
  if (Open(opened, FullPath(key), KEY_QUERY_VALUE | key.view) != ERROR_SUCCESS ||
      RegQueryValueExW(opened.Get(), nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(text),
                       &size) != ERROR_SUCCESS) {
    return L"";
  }
  return text;
}

void RemoveClassesKey(const ClassesKey& key) {
  const std::wstring path = FullPath(key);
  {
    OwnedRegistryKey opened;
    const LSTATUS result = Open(opened, path, DELETE | KEY_READ | KEY_SET_VALUE | key.view);
    if (result == ERROR_FILE_NOT_FOUND) return;
    Require(result);
    Require(RegDeleteTreeW(opened.Get(), nullptr));
  }
  Require(RegDeleteKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), key.view, 0));
}

void RemoveClassesValue(const ClassesKey& key, const std::wstring& name) {
  OwnedRegistryKey opened;
  LSTATUS result = Open(opened, FullPath(key), KEY_SET_VALUE | key.view);
  if (result == ERROR_SUCCESS) result = RegDeleteValueW(opened.Get(), name.c_str());
  if (result != ERROR_FILE_NOT_FOUND) Require(result);
}

void RemoveEmptyClassesKey(const ClassesKey& key) {
  const std::wstring path = FullPath(key);
  DWORD children = 0;
  {
    OwnedRegistryKey opened;
    const LSTATUS result = Open(opened, path, KEY_READ | key.view);
    if (result == ERROR_FILE_NOT_FOUND) return;
    Require(result);
    Require(RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, &children, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr, nullptr));
  }
  if (children == 0) Require(RegDeleteKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), key.view, 0));
}

}  // namespace qmzentrel::com
