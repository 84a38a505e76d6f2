#include "platform/win32/automation_number.h"

#include <algorithm>
#include <iterator>

namespace qmzentrel::platform {
namespace {

struct ClassicNumber {
  HRESULT result;
  std::int32_t number;
};

constexpr ClassicNumber kClassicNumbers[] = {
    {E_NOTIMPL, 445},
    {E_NOINTERFACE, 430},
    {E_ACCESSDENIED, 70},
    {E_OUTOFMEMORY, 7},
    {E_INVALIDARG, 5},

    {DISP_E_UNKNOWNINTERFACE, 438},
    {DISP_E_MEMBERNOTFOUND, 438},
    {DISP_E_PARAMNOTFOUND, 448},
    {DISP_E_TYPEMISMATCH, 13},
    {DISP_E_UNKNOWNNAME, 438},
    {DISP_E_NONAMEDARGS, 446},
    {DISP_E_BADVARTYPE, 458},
    {DISP_E_OVERFLOW, 6},
    {DISP_E_BADINDEX, 9},
    {DISP_E_UNKNOWNLCID, 447},
    {DISP_E_ARRAYISLOCKED, 10},
    {DISP_E_BADPARAMCOUNT, 450},
    {DISP_E_PARAMNOTOPTIONAL, 449},
    {DISP_E_NOTACOLLECTION, 451},
    {DISP_E_DIVBYZERO, 11},

    {TYPE_E_DLLFUNCTIONNOTFOUND, 453},
    {TYPE_E_TYPEMISMATCH, 13},
    {TYPE_E_OUTOFBOUNDS, 9},
    {TYPE_E_IOERROR, 57},
    {TYPE_E_CANTCREATETMPFILE, 322},
    {TYPE_E_CANTLOADLIBRARY, 48},

    {STG_E_FILENOTFOUND, 432},
    {STG_E_PATHNOTFOUND, 76},
    {STG_E_TOOMANYOPENFILES, 67},
    {STG_E_ACCESSDENIED, 70},
    {STG_E_INSUFFICIENTMEMORY, 7},
    {STG_E_NOMOREFILES, 67},
    {STG_E_DISKISWRITEPROTECTED, 70},
    {STG_E_WRITEFAULT, 57},
    {STG_E_READFAULT, 57},
    {STG_E_SHAREVIOLATION, 75},
    {STG_E_LOCKVIOLATION, 70},
    {STG_E_FILEALREADYEXISTS, 58},
    {STG_E_MEDIUMFULL, 61},
    {STG_E_INVALIDNAME, 53},
    {STG_E_INUSE, 70},
    {STG_E_NOTCURRENT, 70},
    {STG_E_CANTSAVE, 57},

    {REGDB_E_CLASSNOTREG, 429},
    {MK_E_UNAVAILABLE, 429},
    {MK_E_INVALIDEXTENSION, 432},
    {MK_E_CANTOPENFILE, 432},
    {CO_E_CLASSSTRING, 429},
    {CO_E_APPNOTFOUND, 429},
    {CO_E_APPDIDNTREG, 429},
    {CO_E_SERVER_EXEC_FAILURE, 429},
    {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), 462},
};

}  // namespace

std::int32_t AutomationNumber(HRESULT result) {
  const auto* const known = std::ranges::find(kClassicNumbers, result, &ClassicNumber::result);
  if (known != std::end(kClassicNumbers)) return known->number;
  return HRESULT_FACILITY(result) == FACILITY_CONTROL ? HRESULT_CODE(result) : result;
}

}  // namespace qmzentrel::platform
