// The products as classes: each is its handle and its modules in one object, so that every operation of every module is
// callable on it.
#pragma once

#include "models/products.h"
#include "modules/faces.h"
#include "protocol/network_device.h"
#include "protocol/usb_device.h"
#include "protocol/wifi_device.h"

namespace qvx {

// `Handle` is constructed first, then each module's operations; the published classes of the modules, blocking and
// coroutine, are faces of the same operations.
template <ProductId Product, class Handle, class... Operations>
class Model : public virtual Handle,
              public virtual Operations...,
              public BlockingFace<Operations>...,
              public CoroutineFace<Operations>... {
 public:
  explicit Model(bool verbose = true) : Model(verbose, productConfiguration(Product)) {}
  ~Model() override { Handle::close(); }

 private:
  // A virtual base is constructed here and nowhere else: what the faces are given goes unused.
  Model(bool verbose, const ProductConfiguration& configuration)
      : Handle(Product, verbose),
        Operations(Link(*this), configuration)...,
        BlockingFace<Operations>(Link(*this), configuration)...,
        CoroutineFace<Operations>(Link(*this), configuration)... {}
};

template <ProductId Product>
using WirelessAnalogInput = Model<Product, WifiDevice, SystemOperations, SystemAnalogOperations, NetworkOperations,
                                  WifiOperations, AIOperations>;

using SkylogE3A = WirelessAnalogInput<ProductId::SkylogE3A>;
using SkylogF4A = WirelessAnalogInput<ProductId::SkylogF4A>;
using FeroxA = Model<ProductId::FeroxA, ETHDevice, SystemOperations, NetworkOperations, AIOperations>;
using FeroxD = Model<ProductId::FeroxD, ETHDevice, SystemOperations, NetworkOperations, DIOOperations>;
using FeroxEXD = Model<ProductId::FeroxEXD, ETHDevice, SystemOperations, NetworkOperations, DIOOperations>;

using CordlogF1D = Model<ProductId::CordlogF1D, USBDevice, SystemOperations, DIOOperations>;
using CordlogF1AD = Model<ProductId::CordlogF1AD, USBDevice, SystemOperations, AIOperations, DIOOperations>;
using CordlogF1TD = Model<ProductId::CordlogF1TD, USBDevice, SystemOperations, DIOOperations>;
using CordlogF1CD = Model<ProductId::CordlogF1CD, USBDevice, SystemOperations, DIOOperations>;
using CordlogF1RD = Model<ProductId::CordlogF1RD, USBDevice, SystemOperations, DIOOperations>;
using CordlogF1DSNK = Model<ProductId::CordlogF1DSNK, USBDevice, SystemOperations, DIOOperations>;
using CordlogF1AOD = Model<ProductId::CordlogF1AOD, USBDevice, SystemOperations, AIOperations, DIOOperations>;

}  // namespace qvx
