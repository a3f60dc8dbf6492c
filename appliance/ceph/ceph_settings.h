#pragma once

#include <optional>
#include <string>

#include "appliance/ceph/fence.h"
#include "appliance/core/engines/daemon/attach_way.h"
#include "appliance/core/engines/table/engine_table.h"

namespace lumora {

/// What a store says of its cluster: CEPH_CONF, by default /etc/ceph/ceph.conf, CEPH_USER, by default appliance, POOL,
/// by default images, ATTACH, and CATALOG, POOL/NAME of the catalog where it is kept on the cluster. The clients of
/// this machine are written down in <store>/var/lib/lumora/ceph.clients/.
struct SCephSettings
{
    SCephSetup cluster;
    std::string pool;                      ///< of images
    std::optional<SCatalogPlace> catalog;  ///< none for one that is a file of this machine
    EAttach attach = EAttach::AUTO;        ///< how LUNs are presented
};

/// Status unusable, with the key, for a value that cannot be one.
SCephSettings readCephSettings(const SEngineSetup& setup);

/// How exports are presented: time images also where LUNs are by RBD, since the kernel cannot open an image that is
/// imported only.
EAttach attachOfExports(const SEngineSetup& setup);

}  // namespace lumora
