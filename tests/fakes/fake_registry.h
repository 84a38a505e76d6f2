// A registry that can fail.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace qmzentrel::fakes {

struct StoredValue {
  std::uint32_t type = 0;
  std::string bytes;
};

/// Orders registry names as Windows does, without case.
struct NoCaseLess {
  bool operator()(const std::string& left, const std::string& right) const;
};

struct FakeRegistry {
  using Values = std::map<std::string, StoredValue, NoCaseLess>;
  std::map<std::string, Values, NoCaseLess> registry;  ///< path under HKEY_LOCAL_MACHINE
  void SetText(const std::string& path, const std::string& name, const std::string& text);
  void SetNumber(const std::string& path, const std::string& name, std::uint32_t number);
  void SetTexts(const std::string& path, const std::string& name,
                const std::vector<std::string>& texts);
  std::vector<std::string> opened_paths;  ///< as they reached the operating system
  std::vector<std::uint32_t> opened_access;
  std::map<std::uintptr_t, std::string> open_keys;
  std::uintptr_t next_key = 1;
  std::optional<std::int32_t> open_result;           ///< every open fails with this
  std::optional<std::int32_t> query_result;          ///< every query fails with this
  std::set<std::string, NoCaseLess> read_only_keys;  ///< opening one for writing is refused
  /// What a hook in the process adds to the size of each value that is read.
  std::uint32_t overstated_by = 0;
  std::function<void()> before_query;  ///< another program at work ahead of each query
  /// Asked ahead of each call, by the name of the advapi32 call it stands for ("RegOpenKeyEx") and
  /// the key, value or index that it is about: a code makes the call fail with it.
  std::function<std::optional<std::int32_t>(const std::string& call, const std::string& subject)>
      registry_fault;
  /// Each call with its subject, in order: "RegOpenKeyEx SOFTWARE\\...".
  std::vector<std::string> registry_calls;
  std::size_t registry_requests = 0;  ///< how many there were, with or without a journal
  /// Order in which a key's sub-keys or values are enumerated; by name unless told.
  std::map<std::string, std::vector<std::string>, NoCaseLess> key_order;
  std::map<std::string, std::vector<std::string>, NoCaseLess> value_order;
};

}  // namespace qmzentrel::fakes
