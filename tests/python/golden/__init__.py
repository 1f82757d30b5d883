"""Golden bytes: for every operation of every product what it sends, what the device answers and what the
caller gets. Commands are numbers here, on purpose; docs/protocol.md has their names."""

from golden import analog, digital, i2c_spi, network, system
from golden.row import Row

ROWS: list[Row] = system.ROWS + network.ROWS + analog.ROWS + digital.ROWS + i2c_spi.ROWS
