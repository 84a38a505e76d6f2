// An array of 32-bit numbers that a late-bound client hands over, whatever form its language gives
// it.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <array>
#include <cstdint>
#include <optional>

#include "com/client_array.h"
#include "com/safe_array.h"
#include "interface/telic2_frame.h"
#include "platform/win32/com_pointer.h"

namespace qmzentrel::com {

/// A command works on an array of 32-bit numbers itself. Of an array of variants, and of an object
/// whose members are named by their index, which are all that script languages have, it works on a
/// copy, and what it stores there is written back.
///
/// As long as this lives the array stays in place and the object alive.
class ArrayArgument {
 public:
  ArrayArgument() = default;
  ~ArrayArgument() noexcept(false);
  ArrayArgument(const ArrayArgument&) = delete;
  ArrayArgument& operator=(const ArrayArgument&) = delete;

  /// `given` holds an array or an object, or a reference to one. Of its entries 0 to `count` - 1
  /// and no others, those that are there are converted in the client's locale; a member that an
  /// object lacks below its length is 0. DISP_E_TYPEMISMATCH for anything but a one-dimensional
  /// array of the two kinds or an object with a length; a failed conversion as automation gives it.
  /// Throws ComError when an array cannot be held.
  HRESULT Bind(VARIANTARG& given, std::int32_t count, LCID lcid);

  /// What a command takes. Lives as long as this.
  const LongArray& View() const { return numbers_ ? numbers_->View() : copy_; }

  /// After the command: what it has stored, into the client's array as 32-bit numbers. Throws
  /// ComError or RunTimeError when the array refuses it.
  void WriteBack();

 private:
  HRESULT BindArray(VARTYPE type, SAFEARRAY** array);
  HRESULT BindObject(IDispatch* object, LCID lcid);

  // Of an array with the indices from `first` to before `end`.
  void SetBoundsOfCopy(std::int64_t first, std::int64_t end);
  HRESULT Convert(std::size_t index, LCID lcid);
  void WriteEntry(std::size_t index);
  // An entry that the array of variants has.
  VARIANT& Variant(std::size_t index) const;

  // One of the three, or none for an array without dimensions.
  std::optional<ClientArray> numbers_;
  std::optional<ArrayLock> variants_;
  platform::ComPointer<IDispatch> object_;

  // The entries of the other two forms under their own indices, as far as commands look.
  std::array<std::int32_t, telic2::kMostMessages> entries_{};
  std::array<bool, telic2::kMostMessages> stored_{};
  LongArray copy_;
};

}  // namespace qmzentrel::com
