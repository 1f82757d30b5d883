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

template <ProductId Product, class... Operations>
using Skylog = Model<Product, WifiDevice, SystemOperations, SystemAnalogOperations, NetworkOperations, WifiOperations,
                     Operations...>;

using SkylogE3A = Skylog<ProductId::SkylogE3A, AIOperations>;
using SkylogE3AH = Skylog<ProductId::SkylogE3AH, AIOperations>;
using SkylogE3AO = Skylog<ProductId::SkylogE3AO, AOOperations>;
using SkylogE3AOD = Skylog<ProductId::SkylogE3AOD, AIOperations, AOOperations, DIOOperations>;
using SkylogF4A = Skylog<ProductId::SkylogF4A, AIOperations>;
using FeroxA = Model<ProductId::FeroxA, ETHDevice, SystemOperations, NetworkOperations, AIOperations>;
using FeroxA2 = Model<ProductId::FeroxA2, ETHDevice, SystemOperations, NetworkOperations, AI24BitStreamingOperations>;
using FeroxI = Model<ProductId::FeroxI, ETHDevice, SystemOperations, NetworkOperations, AI24BitOperations>;
using FeroxIA = Model<ProductId::FeroxIA, ETHDevice, SystemOperations, NetworkOperations, AI24BitOperations>;
using FeroxO = Model<ProductId::FeroxO, ETHDevice, SystemOperations, NetworkOperations, AOStreamingOperations>;
using FeroxD = Model<ProductId::FeroxD, ETHDevice, SystemOperations, NetworkOperations, DIOOperations>;
using FeroxEXD = Model<ProductId::FeroxEXD, ETHDevice, SystemOperations, NetworkOperations, DIOOperations>;

using CordlogF1D = Model<ProductId::CordlogF1D, USBDevice, SystemOperations, UARTOperations, I2COperations,
                         SPIOperations, DIOOperations>;
using CordlogF1AD = Model<ProductId::CordlogF1AD, USBDevice, SystemOperations, UARTOperations, I2COperations,
                          SPIOperations, AIOperations, DIOOperations>;
using CordlogF1TD = Model<ProductId::CordlogF1TD, USBDevice, SystemOperations, UARTOperations, I2COperations,
                          SPIOperations, DIOOperations>;
using CordlogF1CD = Model<ProductId::CordlogF1CD, USBDevice, SystemOperations, UARTOperations, I2COperations,
                          SPIOperations, CANOperations, DIOOperations>;
using CordlogF1RD = Model<ProductId::CordlogF1RD, USBDevice, SystemOperations, UARTOperations, I2COperations,
                          SPIOperations, DIOOperations>;
using CordlogF1DSNK = Model<ProductId::CordlogF1DSNK, USBDevice, SystemOperations, DIOOperations>;
using CordlogF1AOD = Model<ProductId::CordlogF1AOD, USBDevice, SystemOperations, UARTOperations, I2COperations,
                           AIOperations, AOStreamingOperations, DIOOperations>;

}  // namespace qvx
