#include "interface/msi_catalog.h"

#include "interface/catalog_layout.h"
#include "interface/mif_catalog.h"
#include "support/modCOM_Hex.h"
#include "support/registry_values.h"

namespace qmzentrel::catalogs {

using modCOM_Registry::OpenKey;

MsiDescription MsiOf(std::int32_t meter_interface) {
  const OpenKey interface_key(platform::kLocalMachine, InterfaceKey(meter_interface));
  const OpenKey key(platform::kLocalMachine,
                    kKernelKey + registry::Text(interface_key, value_name::kMsi, ""));
  MsiDescription msi;
  msi.caption = registry::Text(key, value_name::kCaption, msi.caption);
  msi.range = {registry::Number(key, value_name::kMin, msi.range.first),
               registry::Number(key, value_name::kMax, msi.range.last)};
  msi.preselected = registry::Number(key, value_name::kDefault, msi.preselected);
  for (std::int64_t n = msi.range.first; n <= LastLookedUp(msi.range); ++n) {
    const auto value = static_cast<std::int32_t>(n);
    const std::string bare = "0x" + modCOM_Hex::HexPad(value, 1);
    msi.names.push_back(registry::Text(key, std::to_string(value), bare));
  }
  return msi;
}

}  // namespace qmzentrel::catalogs
