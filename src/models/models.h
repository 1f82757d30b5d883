// The products as classes: each is its handle and its modules in one object, so that every operation of every module is
// callable on it.
#pragma once

#include "models/products.h"
#include "modules/faces.h"
#include "protocol/network_device.h"

namespace qvx {

// `Handle` is constructed first, then each module's operations; the published classes of the modules, blocking and
// coroutine, are faces of the same operations.
template <class Handle, class... Operations>
class Model : public virtual Handle,
              public virtual Operations...,
              public BlockingFace<Operations>...,
              public CoroutineFace<Operations>... {
 public:
  explicit Model(ProductId product, bool verbose = true) : Model(product, verbose, productConfiguration(product)) {}
  ~Model() override { this->close(); }

 private:
  // A virtual base is constructed here and nowhere else: what the faces are given goes unused.
  Model(ProductId product, bool verbose, const ProductConfiguration& configuration)
      : Handle(product, verbose),
        Operations(Link(*this), configuration)...,
        BlockingFace<Operations>(Link(*this), configuration)...,
        CoroutineFace<Operations>(Link(*this), configuration)... {}
};

using FeroxA = Model<ETHDevice, SystemOperations, AIOperations>;

}  // namespace qvx
