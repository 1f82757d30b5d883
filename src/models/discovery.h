// The handle of discovery and its module in one object, as the products are.
#pragma once

#include "modules/faces.h"
#include "modules/system/broadcast.h"
#include "protocol/broadcast_device.h"

namespace qvx {

class Discovery : public BroadcastDevice,
                  public virtual BroadcastOperations,
                  public BlockingFace<BroadcastOperations>,
                  public CoroutineFace<BroadcastOperations> {
 public:
  explicit Discovery(bool verbose = true)
      : BroadcastOperations(Link(*this), {}),
        BroadcastDevice(verbose),
        BlockingFace(Link(*this), BroadcastConfiguration()),
        CoroutineFace(Link(*this), BroadcastConfiguration()) {}
  ~Discovery() override { close(); }
};

}  // namespace qvx
