// What the class offers of the catalogs: the names of the record's values, and of any numbered key.
#include "device/Zentrel.h"
#include "interface/catalogs.h"
#include "support/registry_values.h"

namespace qmzentrel {
namespace {

// The interface of a transponder that is not set up.
constexpr std::int32_t kNotSetUp = -1;

}  // namespace

void Zentrel::LoadNames() {
  std::int32_t n = 0;
  Variant vntMax = std::int32_t{0};
  std::int32_t lngMax = 0;
  ErrorFrame frame(Fields(), "LoadNames", PARAMETERS(), LOCALS(n, vntMax, lngMax));
  frame.Run([&] {
    using modCOM_Registry::OpenKey;
    STEP const OpenKey interfaces(platform::kLocalMachine, catalogs::kInterfacesKey);
    // Without a catalog of interfaces there are no names of intervals either: installers leave out
    // both, and clients rely on both properties failing then.
    STEP if (!modCOM_Registry::RegGetValue(interfaces, catalogs::value_name::kMax, vntMax)) return;
    STEP lngMax = std::get<std::int32_t>(vntMax);
    STEP m_strMIFs.ReDim(kNotSetUp, catalogs::LastLookedUp({kNotSetUp, lngMax}));
    STEP for (n = kNotSetUp; n <= m_strMIFs.UpperBound(); ++n) {
      STEP m_strMIFs[n] = catalogs::ReadName(interfaces, n, "");
    }
    STEP const OpenKey intervals(platform::kLocalMachine, catalogs::kIntervalsKey);
    STEP m_strTXIs.ReDim(0, catalogs::kLastInterval);
    STEP for (n = 0; n <= catalogs::kLastInterval; ++n) {
      STEP m_strTXIs[n] = registry::Text(intervals, std::to_string(n), "");
    }
  });
}

std::string Zentrel::MIFName() const {
  ErrorFrame frame(Fields(), "MIFName");
  return frame.Run([&] { STEP return m_strMIFs[record_.m_lngMIF]; });
}

std::string Zentrel::TXIName() const {
  ErrorFrame frame(Fields(), "TXIName");
  return frame.Run([&] { STEP return m_strTXIs[record_.m_lngTXI]; });
}

std::string Zentrel::Name(const std::string& RegRootKey, std::int32_t Index) const {
  ErrorFrame frame(Fields(), "Name", PARAMETERS(RegRootKey, Index));
  return frame.Run([&] { STEP return catalogs::ReadName(RegRootKey, Index, "Invalid"); });
}

}  // namespace qmzentrel
