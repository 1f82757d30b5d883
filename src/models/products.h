// The table of products: what each gives its modules. Composition stands in models.h.
#pragma once

#include "core/product.h"
#include "modules/analog/ai24.h"
#include "modules/analog/ao.h"
#include "modules/bus/can.h"
#include "modules/bus/i2c.h"
#include "modules/bus/spi.h"
#include "modules/bus/uart.h"
#include "modules/digital/dio.h"
#include "modules/system/network.h"
#include "modules/system/system.h"
#include "modules/system/system_analog.h"
#include "modules/system/wifi.h"

namespace qvx {

// Every module is constructed from its link and from the part of this that concerns it.
struct ProductConfiguration {
  AIConfiguration ai{};
  AOConfiguration ao{};
  DIOConfiguration dio{};
  UARTConfiguration uart{};
  CANConfiguration can{};
  I2CConfiguration i2c{};
  SPIConfiguration spi{};

  operator const AIConfiguration&() const { return ai; }
  operator const AOConfiguration&() const { return ao; }
  operator const DIOConfiguration&() const { return dio; }
  operator const I2CConfiguration&() const { return i2c; }
  operator const SPIConfiguration&() const { return spi; }
  operator const UARTConfiguration&() const { return uart; }
  operator const CANConfiguration&() const { return can; }
  operator SystemConfiguration() const { return {}; }
  operator SystemAnalogConfiguration() const { return {}; }
  operator NetworkConfiguration() const { return {}; }
  operator WifiConfiguration() const { return {}; }
};

// The configuration of a product that has modules.
const ProductConfiguration& productConfiguration(ProductId product);

}  // namespace qvx
