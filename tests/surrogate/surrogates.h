// The system's surrogate processes that have the component. A client finds them by what they have
// loaded: Windows has one for all clients of a user, Wine makes one for each object, and on both
// there are others that are nobody's here.
#pragma once

#include <windows.h>

#include <cstddef>
#include <set>
#include <string>

namespace qmzentrel::clients {

/// Those that this user may look into.
std::set<DWORD> Surrogates();

/// The files of the component that they have loaded.
std::set<std::wstring> LibrariesOfSurrogates();

std::size_t ThreadsOf(DWORD process);

/// Ends that process and waits until it has gone; one that has gone already is no error.
void EndSurrogate(DWORD process);

/// Ends them all.
void EndSurrogates();

/// Whether both names lead to one file.
bool IsSameFile(const std::wstring& one, const std::wstring& other);

}  // namespace qmzentrel::clients
