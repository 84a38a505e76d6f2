// The classes part of the registry at one moment.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace qmzentrel::clients {

/// Every key and every value under the classes of the machine and of the user, but for those of the
/// key "Local Settings", which change by themselves: path to type and data.
using RegistrySnapshot = std::map<std::wstring, std::vector<unsigned char>>;

/// Takes seconds, and minutes on a busy machine.
RegistrySnapshot TakeRegistrySnapshot();

/// The user's part of it.
RegistrySnapshot TakeRegistrySnapshotOfUser();

/// What the calling program sees, what 32-bit ones do, what 64-bit ones do.
enum class RegistryView { kOwn, k32, k64 };

/// Some keys of the machine's classes only.
RegistrySnapshot TakeRegistrySnapshot(const std::vector<std::wstring>& keys,
                                      RegistryView view = RegistryView::kOwn);

/// Whether the system has programs of both widths, and a registry for each.
bool HasBothWidths();

/// The entries that only one of the two has, or that differ, one per line.
std::string Differences(const RegistrySnapshot& left, const RegistrySnapshot& right);

/// The text in the unnamed (or a named) value of a key of HKEY_CLASSES_ROOT; empty when missing.
std::wstring ClassesText(const std::wstring& key, const wchar_t* name = nullptr);

}  // namespace qmzentrel::clients
