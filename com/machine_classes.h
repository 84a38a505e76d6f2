// The classes of the machine in the registry, which every user of it finds. Not HKEY_CLASSES_ROOT:
// what is written there goes to the user who registers when he has the key already.
#pragma once

#include <windows.h>

#include <string>
#include <variant>
#include <vector>

namespace qmzentrel::com {

/// A key below HKEY_LOCAL_MACHINE\Software\Classes.
struct ClassesKey {
  std::wstring path;
  /// 0 for what programs of this kind see, KEY_WOW64_64KEY for what 64-bit programs see.
  REGSAM view = 0;

  ClassesKey Below(const wchar_t* name) const { return {path + L"\\" + name, view}; }
};

/// The views in which an entry that concerns every program has to be written: one on a 32-bit
/// system, two on a 64-bit one.
std::vector<REGSAM> ClassesViews();

/// Entries that are made together or not at all: what has been written is taken back in the end,
/// and what it has replaced is there again, unless it was kept.
class ClassesWriter {
 public:
  ClassesWriter() = default;
  ~ClassesWriter();
  ClassesWriter(const ClassesWriter&) = delete;
  ClassesWriter& operator=(const ClassesWriter&) = delete;

  /// Creates the key where it is missing. An empty name is the unnamed value. Throws ComError.
  void Write(const ClassesKey& key, const std::wstring& name, const std::wstring& text);
  void Keep() noexcept { changes_.clear(); }

 private:
  struct CreatedKey {
    std::wstring path;
    REGSAM view;
  };
  struct WrittenValue {
    std::wstring path;
    REGSAM view;
    std::wstring name{};
    bool replaced = false;
    DWORD old_type = 0;
    std::vector<BYTE> old_data{};
  };

  void CreateKey(const std::wstring& path, REGSAM view);
  void WriteValue(WrittenValue value, const std::wstring& text);
  static void TakeBack(const CreatedKey& key) noexcept;
  static void TakeBack(const WrittenValue& value) noexcept;

  std::vector<std::variant<CreatedKey, WrittenValue>> changes_;
};

/// The unnamed value of a key; empty when there is none.
std::wstring ReadClassesText(const ClassesKey& key);

/// Removes a key with everything below it, if it is there. Throws ComError.
void RemoveClassesKey(const ClassesKey& key);

/// Removes a named value, if it is there. Throws ComError.
void RemoveClassesValue(const ClassesKey& key, const std::wstring& name);

/// Removes a key if there is no other below it. Throws ComError.
void RemoveEmptyClassesKey(const ClassesKey& key);

}  // namespace qmzentrel::com
