// The class QuenmoorCommunications.Error: what a component's reports are handed to.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <unknwn.h>

namespace qmzentrel::reports {

/// Its class object. Objects of the class keep nothing, so one stands for all of them; late bound,
/// they have
/// - a method "ErrorHandler" with the ten arguments of a report, which appends it to the file. When
///   that is not possible it fails, and the report is its owner's again;
/// - a property "Action", always "Continue".
HRESULT GetErrorHandlerClass(REFIID riid, void** object) noexcept;

/// True as long as somebody holds the class object, an object, or a lock.
bool ErrorHandlerInUse() noexcept;

}  // namespace qmzentrel::reports
