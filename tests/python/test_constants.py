"""The published constants as applications see them."""

import pyqvx

# Values that are easy to get wrong: odd names, shared numbers, ends of the derived families.
VALUES: dict[str, object] = {
    **{"OPEN_CAN": 48, "WRITE_THERMAL_JUNCTION": 75, "SET_LAMP": 75, "GET_MEASUREMENT": 94, "MOTION": 208},
    **{"CHECK_CALCULATUON": 185, "SET_CONNECTOR_MOTION": 209, "MOTION_START_SCAN_MOVE": 7314},
    **{"DRONE_READ_MOVE_VEHICLE_REL_YAW": 10288, "DRONE_MOVE_RELATIVE_XY_VEHICLE": 10297},
    **{"DRONE_WRITE_MOVE_VEHICLE_ABS_YAW": 10305, "DRONE_WRITE_MOVE_BASE_ABS_XYZ": 10331},
    **{"DRONE_READ_MOVE_NED_REL_X": 10336, "DRONE_MOVE_ABSOLUTE_XY_NED": 10355},
    **{"DRONE_READ_MOVE_GEO_ABS_ALTITUDE": 10366, "DRONE_WRITE_MOVE_GEO_ABS_LONGITUDE_LATITUDE": 10369},
    **{
        "USB_VID": 1155,
        "USB_PID": 22352,
        "USB_EP_IN": 129,
        "USB_61E_PLUS_VID": 4292,
        "USB_61E_PLUS_PID": 60032,
    },
    **{"CONNECTION_TIMEOUT": 5, "UART_READ_TIMEOUT": 0.05, "ECHO_DELAY": 0.01, "QUEUE_SIZE_MAX": 1_000_000},
    **{"PKG_NAME": "pyqvx", "PKG_FULL_NAME": "QVX Python driver", "__version__": "3.2.6"},
    "STREAMING_CMD_LIST": [49, 129, 183, 190, 8265, 211, 9217, 8205],
    "BROADCAST_CMD_LIST": [252, 253, 254, 2582],
}


def test_values_and_types():
    assert {name: repr(getattr(pyqvx, name)) for name in VALUES} == {n: repr(v) for n, v in VALUES.items()}
