"""Analog inputs of 16 and 24 bits, analog outputs and their generation."""

from golden.row import CORDLOG, WIRELESS, names, op

import pyqvx

NO = pyqvx.APINotSupportError
INPUTS = names(pyqvx.AIModule)
CHOSEN = INPUTS & CORDLOG  # channels that are on
ALWAYS_ON = {"FeroxA", "FeroxA2", "FeroxI", "FeroxIA"}
FINE = names(pyqvx.AI24BitStreamingModule)
FINE_ON_DEMAND = names(pyqvx.AI24BitModule)

SAMPLE = "4000 C000 0001 FFFF 0000 0000 7FFF 8000"
VOLTS = [5.0, -5.0, 0.0003, -0.0003, 0.0, 0.0, 9.9997, -10.0]

AI = [
    op("AI_open", (0,), on=ALWAYS_ON),
    op("AI_open", (0,), (176, "00", "00 00"), on=INPUTS - ALWAYS_ON),
    op("AI_close", (0,), on=ALWAYS_ON),
    op("AI_close", (0,), (191, "00", "00 00"), on=INPUTS - ALWAYS_ON),
    op("AI_openStreaming", (0,), (182, "00", "00 00"), on=(INPUTS | FINE) - WIRELESS),
    op("AI_openStreaming", (0,), (182, "00", "00 00 00000002 447A0000"), on=INPUTS & WIRELESS),
    op("AI_closeStreaming", (0,), (184, "00", "00 00")),
    op("AI_startStreaming", (0,), (183, "00", None), on=INPUTS - CHOSEN),
    op("AI_startStreaming", (0,), (190, "00", None), on=CHOSEN),
    op("AI_startStreaming", (0,), (8205, "00", None), on=FINE),
    op("AI_setMode", (0, 2), (178, "00 02", "00 00")),
    op("AI_setNumSamples", (0, 0x01020304), (179, "00 01020304", "00 00")),
    op("AI_setMode", (0, 0), (178, "00 00", "00 00")),
    op("AI_setNumSamples", (0, 0xFFFFFFFF), (179, "00 FFFFFFFF", "00 00")),
    op("AI_setSamplingRate", (0, 1), (177, "00 3F800000", "00 00")),
    op("AI_setSamplingRate", (0, 1000), (177, "00 447A0000", "00 00")),
    op("AI_enableChannel", (0, 8), (180, "00 08", "00 00"), on=CHOSEN),
    op("AI_enableChannel", (0, 8), result=NO, on=INPUTS - CHOSEN),
    op("AI_enableCS", (1, [0]), result=NO, on=INPUTS),
    *[
        op("AI_setTriggerMode", (0, mode), (8214, f"00 {mask:02X}", "00 00"), on=INPUTS - CHOSEN)
        for mode, mask in enumerate([1, 2, 4, 3, 5, 6, 7])
    ],
    op("AI_setTriggerMode", (0, 0), result=NO, on=CHOSEN),
    op("AI_readOnDemand", (0,), (181, "00", "00 00" + SAMPLE), result=VOLTS, on=INPUTS - CHOSEN),
    op("AI_readOnDemand", (0,), (189, "00", "00 00" + SAMPLE), result=VOLTS, on=CHOSEN),
    op(
        "AI_readOnDemand",
        (0,),
        (8196, "00", "00 00" + "400000 C00000 000001 800000" * 2),
        result=[5.0, -5.0, 10 / 2**23, -10.0] * 2,
        on=FINE,
    ),
    op(
        "AI_readOnDemand",
        (0,),
        (8196, "00 FF", "00 00 00 C00000"),
        result=[25.0],
        on=FINE_ON_DEMAND,
    ),
    # Range 0 is +-50 V, any other +-25 V; one step is 6 or 3 uV: rounded to three decimals.
    *[
        op("AI_readOnDemand", (0,), (8196, "00 FF", "00 00" + reading), result=[volts], on=FINE_ON_DEMAND)
        for reading, volts in [
            ("00 000000", -50.0),
            ("01 000000", -25.0),
            ("09 C00000", 12.5),
            ("00 FFFFFF", 50.0),
            ("02 800180", 0.001),
        ]
    ],
    op("AI_readStreaming", (0, -1, 0), result=[], on=INPUTS | FINE),
    op("AI_readStreamingArray", (0, -1, 0), result=[], on=INPUTS | FINE),
    op("_AI_getDataRTC", (0,), (8226, "00", "00 00" + SAMPLE), result=VOLTS),
    op("_AI_getCounter", (0,), (188, "00", "00 00 00000001 00000002 FFFFFFFF"), result=[1, 2, 0xFFFFFFFF]),
    op("_AI_clearBufferStatus", (0,), (186, "00", "00 00")),
    op("_AI_readBufferStatus", (0,), (187, "00", "00 00 00000004 00000005"), result=[4, 5]),
    op("_checkAIPinState", (0,), (127, "00", "00 08 99 99 99 99"), result=None, on=(INPUTS | FINE) - CHOSEN),
    op("_checkAIPinState", (0,), (127, "04", "00 08 99 99 99 99"), result=None, on=CHOSEN),
    op(
        "_checkAIPinState",
        (0,),
        (127, "04", "00 08 99 99 99 19"),
        result=pyqvx.AIPortNotAvaliableError,
        on=CHOSEN,
    ),
]

EIGHT_OUTPUTS = {"FeroxO", "SkylogE3AO"}
FOUR_OUTPUTS = {"CordlogF1AOD", "SkylogE3AOD"}
IDLE = "00 08 11 11 11 11"

AO = [
    op("AO_open", (0,), on={"FeroxO"}),
    op("AO_open", (0,), (192, "00", "00 00"), on={"SkylogE3AO", "SkylogE3AOD"}),
    op("AO_open", (0,), (127, "00", IDLE), (192, "00", "00 00"), on={"CordlogF1AOD"}),
    op("AO_close", (0,), on={"FeroxO"}),
    op("AO_close", (0,), (207, "00", "00 00"), on=(EIGHT_OUTPUTS | FOUR_OUTPUTS) - {"FeroxO"}),
    op("AO_writeOneChannel", (0, 3, -2.5), (197, "00 03 C0200000", "00 00")),
    op(
        "AO_writeAllChannels",
        (0, [1.0, -10.0]),
        (205, "00 3F800000 C1200000" + "00" * 24, "00 00"),
        on=EIGHT_OUTPUTS,
    ),
    op(
        "AO_writeAllChannels",
        (0, [1.0, -10.0]),
        (205, "00 3F800000 C1200000" + "00" * 8, "00 00"),
        on=FOUR_OUTPUTS,
    ),
    op("AO_getPort", (), result=[0]),
    op("_AO_getPinMapPort", (0,), result=[0, 1, 2, 3, 4, 5, 6, 7], on=EIGHT_OUTPUTS),
    op("_AO_getPinMapPort", (0,), result=[0, 1, 2, 3], on=FOUR_OUTPUTS),
    op("_checkAOPinState", (0,), (127, "00", IDLE), result=None),
    op("_checkAOPinState", (0,), (127, "00", "00 08 33 33 33 33"), result=pyqvx.AOPortNotAvaliableError),
]

GENERATION = [
    op("AO_openStreaming", (0,), (8264, "00", "00 00 02 447A0000"), result=[2, 1000.0]),
    op("AO_startStreaming", (0,), (8265, "00", None)),
    op("_AO_stopStreaming", (0,), (8266, "00", "00 00")),
    op("AO_closeStreaming", (0,), (8267, "00", "00 00")),
    op("_AO_setSpan", (0, 4), (8272, "00 04", "00 00")),
    op("AO_setMode", (0, 2), (8273, "00 02", "00 00")),
    op("AO_setSamplingRate", (0, 10000), (8274, "00 461C4000", "00 00")),
    op("AO_setNumSamples", (0, 0xFFFFFFFF), (8275, "00 FFFFFFFF", "00 00")),
    op("AO_setEnableChannels", (0, [0, 2]), (8276, "00 05", "00 00")),
    op("AO_setEnableChannels", (0, [7, 0, 0, 2]), (8276, "00 85", "00 00"), on={"FeroxO"}),
    op("AO_setEnableChannels", (0, []), (8276, "00 00", "00 00")),
    op("AO_setForm", (0, 2, 3), (8277, "00 02 03", "00 00")),
    op(
        "AO_setFormParam",
        (0, 1, 5, -1, 50, 90, 25),
        (8278, "00 01 40A00000 BF800000 42480000 42B40000 41C80000", "00 00"),
    ),
    op("_AO_initialBuffer", (0,), (202, "00", "00 00 00010000"), result=65536),
    op("_AO_pushToBuffer", (0, 2, [1.0, 0.0]), (8280, "00 02 3F800000 00000000", "00 00")),
    op("_AO_pushToBuffer", (0, 0, []), (8280, "00 00", "00 00")),
    op(
        "_AO_pushToBuffer",
        (0, 14, [1.0] * 14),
        (8280, "00 0D" + "3F800000" * 13, "00 00"),
        (8280, "00 01 3F800000", "00 00"),
    ),
    # What is refused is followed by nothing.
    op(
        "_AO_pushToBuffer",
        (0, 14, [1.0] * 14),
        (8280, "00 0D" + "3F800000" * 13, "00 35"),
        result=pyqvx.FirmwareAOError,
    ),
    op("AO_getValues", (0,), (206, "00", "00 00 3F800000 C1200000"), result=[1.0, -10.0]),
    op("_AO_getCounters", (0,), (204, "00", "00 00 00000100 FFFFFFFF"), result=[256, 0xFFFFFFFF]),
    op("_AO_getMode", (0,), (8290, "00", "00 00 01"), result=1),
    op("_AO_getState", (0,), (8291, "00", "00 00 02"), result=2),
]

ROWS = AI + AO + GENERATION
