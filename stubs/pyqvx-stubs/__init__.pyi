"""Types of pyqvx: made from the built module by tools/make_stubs.py."""
# mypy: disable-error-code="override,misc"
import numpy
from collections.abc import Callable, Generator, Iterable, Iterator
from typing import Any, Self

errAPINotSupport: int
errUSBConnection: int
errNetConnection: int
errUARTConnection: int
errNetConnectionLost: int
errPacketTimeout: int
errPinsNotExist: int
errPinsValueNotDefine: int
errInputTypeNotConsistent: int
errInputTypeNotCorrect: int
errInputDataNotInRange: int
errIniFileName: int
errIniFileNotFound: int
errDIPort: int
errDOPort: int
errPWMchannel: int
errCounterchannel: int
errEncoderChannel: int
errDIChannel: int
errDOChannel: int
errRelayIndex: int
errRelayPort: int
errAIChannel: int
errAIPort: int
errAIChip: int
errAIMode: int
errAIRate: int
errAITriggerMode: int
errAOPort: int
errAOMode: int
errAOSpan: int
errAOChannel: int
errAOForm: int
errAORate: int
errAHRSPort: int
errAHRSMode: int
errThermalPort: int
errThermalChipSelect: int
errThermalMode: int
errThermalType: int
errI2CPort: int
errI2CClock: int
errI2CAddressSize: int
errSPIPort: int
errSPIDataLengthExceedMax: int
errSPIDataSize: int
errSPIFirstBit: int
errSPIPrescaler: int
errSPIMode: int
errUARTPort: int
errUARTExceedMaxLength: int
errUARTBaudRate: int
errUARTStopBit: int
errUARTParity: int
errUARTDataBit: int
errCANPort: int
errCANSpeed: int
errCANDataLength: int
errCANTX: int
errCANTXPriority: int
errMotionAxis: int
errMotionPort: int
errMotionStopMode: int
errMotionSearchType: int
errMotionSearchDirection: int
errMotionEnable: int
errMotionStepperOutput: int
errMotionDirection: int
errMotionPolarity: int
errMotionCaptureType: int
errMotionCaptureMode: int
errMotionBreakPoint: int
errMotionOperationMode: int
errMotionAccelerationMode: int
errLUMASlot: int
errFirmwareEnable: int
errFirmwarePinIndex: int
errFirmwareHALIndex: int
errFirmwareQVXIndex: int
errFirmwareRTC: int
errFirmwareI2C: int
errFirmwareSPI: int
errFirmwareUART: int
errFirmwareTIM: int
errFirmwarePWM: int
errFirmwarePulse: int
errFirmwareEncoder: int
errFirmwareEEPROM: int
errFirmwareOLED: int
errFirmwareCore: int
errFirmwareDIO: int
errFirmwareRelay: int
errFirmwareAI: int
errFirmwareAO: int
errFirmwareMotion: int
errFirmwareDrive: int
errFirmwareThermal: int
errFirmwareCAN: int
errFirmwareUSB: int
errFirmwareTCP: int
errFirmwareUDP: int
errFirmwareBootloader: int
errFirmwareParser: int
errFirmwareOther: int
warnAIOverflow: int
warnUARTOverflow: int
warnCANOverflow: int
warnAHRSOverflow: int
warnLateReply: int
errDPOTChannel: int
errDPOTPort: int
warnLibNotFound: int
errDroneFlightMode: int
errDroneZHeight: int
errDroneAngle: int
OPEN_CAN: int
START_CAN: int
WRITE_CAN: int
STOP_CAN: int
CLOSE_CAN: int
SET_CAN_SPEED: int
SET_CAN_ENABLED_ITR: int
SET_CAN_TX_PRIORITY: int
SET_CAN_RX_ROLLOVER: int
SET_CAN_RX_FILTERING_ON: int
SET_CAN_RX_FILTER_OR_MASK: int
GET_CAN_INTERRUPTS: int
GET_CAN_ERRORS: int
GET_CAN_COUNTERS: int
OPEN_THERMAL: int
READ_THERMAL_JUNCTION: int
READ_THERMAL_COUPLE: int
CLOSE_THERMAL: int
SET_THERMAL_NOISE_FILTER: int
SET_THERMAL_OVER_SAMPLING: int
SET_THERMAL_TYPE: int
GET_THERMAL_STATUS: int
SET_THERMAL_JUNCTION_ON: int
READ_THERMAL_OFFSET: int
WRITE_THERMAL_OFFSET: int
WRITE_THERMAL_JUNCTION: int
LOAD_THERMAL_OFFSET: int
SAVE_THERMAL_OFFSET: int
OPEN_PWM: int
START_PWM: int
STOP_PWM: int
CLOSE_PWM: int
SET_PWM_FREQUENCY: int
SET_PWM_DUTY_CYCLE: int
READ_ACCELERATION: int
SET_AP: int
GET_RSSI: int
GET_BATTERY: int
GET_THERMOMETER: int
SET_WIFI_CONFIGURATION: int
GET_WIFI_CONFIGURATION: int
SET_WIFI_BANDWIDTH: int
GET_WIFI_BANDWIDTH: int
RESET_FACTORY: int
GET_SERIAL_NUMBER: int
SET_SERIAL_NUMBER: int
GET_GATEWAY: int
SET_GATEWAY: int
GET_THREADS: int
GET_PIN_MODE_OF_SLOT: int
GET_DRIVER_INFO: int
GET_DATE_TIME: int
SET_DATE_TIME: int
GET_IP: int
SET_IP: int
GET_MAC: int
SET_MAC: int
GET_EEPROM_PAGE: int
SET_EEPROM_PAGE: int
GET_EEPROM_DEVICE: int
REBOOT: int
REBOOT_ON_BOOTLOADER: int
GET_DEVICE_INFO: int
CHECK_MAC_AND_SET_IP: int
CHECK_MAC_AND_REBOOT: int
SET_EEPROM_BYTE: int
GET_SLOT_MODE: int
SET_SLOT_MODE: int
GET_DEV_ALIAS: int
SET_DEV_ALIAS: int
RTC_START_ALARM: int
RTC_STOP_ALARM: int
RTC_GET_ALARM_STATE: int
RTC_GET_ALARM_CONFIG: int
RTC_GET_ALARM_TRIG: int
NETCOM_CHECK_MAC_RINGING: int
OPEN_UART: int
START_UART_READING: int
WRITE_UART: int
STOP_UART_READING: int
CLOSE_UART: int
RESET_UART: int
SET_UART_BAUD_RATE: int
SET_UART_DATA_SIZE: int
SET_UART_PARITY: int
SET_UART_NUM_STOP_BITS: int
OPEN_I2C: int
READ_I2C: int
WRITE_I2C: int
CLOSE_I2C: int
RESET_I2C: int
SET_I2C_FREQUENCY: int
SET_I2C_ADDR_SIZE: int
OPEN_SPI: int
READ_SPI: int
WRITE_SPI: int
READ_AND_WRITE_SPI: int
CLOSE_SPI: int
RESET_SPI: int
SET_SPI_DATA_SIZE: int
SET_SPI_FIRST_BIT: int
SET_SPI_PRESCALER: int
SET_SPI_CPOL: int
SET_SPI_CPHA: int
OPEN_AIO: int
CLOSE_AIO: int
OPEN_AI: int
SET_AI_SAMPLING_RATE: int
SET_AI_MODE: int
SET_AI_NUM_SAMPLES: int
SET_AI_ENABLED_CS: int
READ_AI_ON_DEMAND: int
OPEN_AI_STREAMING: int
START_AI_STREAMING: int
CLOSE_AI_STREAMING: int
CHECK_CALCULATUON: int
CLEAR_DATA: int
CHECK_BUFFER_STATUS: int
GET_AI_COUNTERS: int
READ_AI_ON_DEMAND_VARIABLE: int
START_AI_STREAMING_VARIABLE: int
CLOSE_AI: int
AI_RESET_BUFFER: int
AI_GET_DATA: int
AI_START_STREAMING_24BIT: int
AI_SET_TRIG_MODE: int
READAI24BIT: int
OPEN_AO: int
WRITE_AO_BY_CHANNEL: int
INIT_AO_BUFFER: int
PUSH_TO_AO_BUFFER: int
GET_AO_COUNTERS: int
WRITE_AO_SYNCHRONIZED: int
GET_AO_VALUES: int
CLOSE_AO: int
OPEN_AO_STREAMING: int
START_AO_STREAMING: int
STOP_AO_STREAMING: int
CLOSE_AO_STREAMING: int
SET_AO_SPAN: int
SET_AO_MODE: int
SET_AO_SAMPLING_RATE: int
SET_AO_NUM_SAMPLES: int
SET_AO_ENABLED_CHANNELS: int
SET_AO_FORM: int
SET_AO_FORM_PARAM: int
SET_AO_PUSH_TO_BUFFER: int
GET_AO_MODE: int
GET_AO_STATE: int
GET_AO_ENABLED_CHANNELS: int
LOAD_DIO_STARTUP: int
SAVE_DIO_STARTUP: int
GET_DIO_CURRENT: int
SET_DIO_CURRENT: int
TOGGLE_DIO_DIR: int
GET_DIO_STATE: int
SET_DIO_STATE: int
READ_DI: int
WRITE_DO: int
READ_AND_GET_DI: int
SET_AND_WRITE_DO: int
SET_SLOT_DI: int
SET_SLOT_DO: int
SET_SLOT_IDLE: int
TOGGLE_AND_WRITE_DO: int
PULSE_OPEN: int
PULSE_START: int
PULSE_READ: int
PULSE_STOP: int
PULSE_CLOSE: int
PULSE_SET_EDGE: int
PULSE_SET_VALUE: int
PULSE_SET_FRQ_WINDOW: int
PULSE_GET_VALUE: int
PULSE_GET_FRQ_WINDOW: int
ENCODER_OPEN: int
ENCODER_START: int
ENCODER_READ: int
ENCODER_STOP: int
ENCODER_CLOSE: int
ENCODER_SET_VALUE: int
ENCODER_SET_DIR: int
ENCODER_SET_FRQ_WINDOW: int
ENCODER_GET_DIR: int
ENCODER_GET_FRQ_WINDOW: int
RELAY_READ: int
RELAY_SAVE: int
MOTION: int
SET_CONNECTOR_MOTION: int
START_MOTION_MONITORING: int
MOTION_READ_REG: int
MOTION_WRITE_REG: int
MOTION_GET_PARAM: int
MOTION_SET_PARAM: int
MOTION_LOAD_PARAM: int
MOTION_SAVE_PARAM: int
MOTION_RESET_FACTORY: int
MOTION_GET_PROC_STATE: int
MOTION_STOP_PROC: int
MOTION_START_V_MOVE: int
MOTION_START_P_MOVE: int
MOTION_START_SCAN_MOVE: int
MOTION_START_FIND_END: int
MOTION_START_FIND_HOME: int
MOTION_START_FIND_Z: int
POT_OPEN: int
POT_READ: int
POT_WRITE_BY_CS: int
POT_WRITE_ALL_CS: int
POT_CLOSE: int
AHRS_OPEN: int
AHRS_START: int
AHRS_STOP: int
AHRS_CLOSE: int
AHRS_RESET: int
AHRS_SET_GNRL: int
AHRS_VQF_SET_TAU: int
AHRS_VQF_SET_ENABLING: int
AHRS_VQF_SET_GYRO_BIAS: int
AHRS_VQF_SET_REST_DETECT: int
AHRS_VQF_SET_MAG_DETECT: int
AHRS_VQF_SET_MAG_REF: int
AHRS_VQF_SET_MAG_REJECT: int
AHRS_DEBUG: int
AHRS_GET_RAW_DATA: int
AHRS_GET_ESTIMATES: int
AHRS_GET_COUNTER: int
SD_OPEN: int
SD_CLOSE: int
SD_GET_CAPACITY: int
SD_OPEN_FILE: int
SD_WRITE_FILE: int
SD_READ_FILE: int
SD_CLOSE_FILE: int
SNTP_SYNC_NOW: int
SNTP_GET_SYNC_STATUS: int
SNTP_GET_SERVER_IP: int
SNTP_SET_SERVER_IP: int
SNTP_GET_SYNC_PERIOD: int
SNTP_SET_SYNC_PERIOD: int
SET_LAMP: int
GET_MEASUREMENT: int
CMD_STX: int
CMD_STX_2: int
CMD_INDEX: int
CMD_INDEX_2: int
CMD_CR: int
CMD_CR_2: int
CMD_LF: int
CMD_LF_2: int
USB_VID: int
USB_PID: int
USB_EP_OUT: int
USB_EP_IN: int
USB_PKT_SIZE: int
USB_61E_PLUS_VID: int
USB_61E_PLUS_PID: int
USB_61E_RECEIVE_BYTE: int
USB_61E_RECEIVE_TIMEOUT: int
USB_61E_RECEIVE_TOTAL_BYTES: int
TCP_CMD_PORT: int
TCP_DATA_PORT: int
TCP_PKT_LENGTH_MAX: int
TCP_DATA_LENGTH_MAX: int
UART_PKT_LENGTH_MAX: int
UDP_SEND_PORT: int
UDP_RECV_PORT: int
UDP_PKT_LENGTH_MAX: int
CONNECTION_TIMEOUT: int
PACKET_TIMEOUT: int
RETRY_TIMEOUT: int
NUM_RETRIES: int
NUM_BCST_RETRIES: int
QUEUE_SIZE_MAX: int
QUEUE_TIMEOUT: int
DRONE_GET_SERIAL_NUMBER: int
DRONE_GET_FIRMWARE_VERSION: int
DRONE_READ_STATUS: int
DRONE_GET_ACTIVE_STATUS: int
DRONE_SET_ACTIVE_STATUS: int
DRONE_GET_TAKEOFF_STATUS: int
DRONE_SET_TAKEOFF_STATUS: int
DRONE_GET_LANDING_STATUS: int
DRONE_SET_LANDING_STATUS: int
DRONE_STOP_MOVING: int
DRONE_READ_FLIGHT_MODE: int
DRONE_SET_FLIGHT_MODE: int
DRONE_READ_TASK_CONTROL_MODE: int
DRONE_READ_NED_STATE_RPYXYZ: int
DRONE_READ_INPOSITION: int
DRONE_READ_TRAJECTORY: int
DRONE_READ_TRAJECTORY_DONE: int
DRONE_READ_BATTERY: int
DRONE_READ_MOVE_VEHICLE_REL_YAW: int
DRONE_WRITE_MOVE_VEHICLE_REL_YAW: int
DRONE_READ_MOVE_VEHICLE_REL_X: int
DRONE_MOVE_RELATIVE_X_VEHICLE: int
DRONE_READ_MOVE_VEHICLE_REL_Y: int
DRONE_MOVE_RELATIVE_Y_VEHICLE: int
DRONE_READ_MOVE_VEHICLE_REL_Z: int
DRONE_WRITE_MOVE_VEHICLE_REL_Z: int
DRONE_READ_MOVE_VEHICLE_REL_XY: int
DRONE_MOVE_RELATIVE_XY_VEHICLE: int
DRONE_READ_MOVE_VEHICLE_REL_XYZ: int
DRONE_WRITE_MOVE_VEHICLE_REL_XYZ: int
DRONE_READ_MOVE_VEHICLE_ABS_ROLL: int
DRONE_MOVE_ABSOLUTE_ROLL_VEHICLE: int
DRONE_READ_MOVE_VEHICLE_ABS_PITCH: int
DRONE_MOVE_ABSOLUTE_PITCH_VEHICLE: int
DRONE_READ_MOVE_VEHICLE_ABS_YAW: int
DRONE_WRITE_MOVE_VEHICLE_ABS_YAW: int
DRONE_READ_MOVE_BASE_REL_YAW: int
DRONE_WRITE_MOVE_BASE_REL_YAW: int
DRONE_READ_MOVE_BASE_REL_X: int
DRONE_WRITE_MOVE_BASE_REL_X: int
DRONE_READ_MOVE_BASE_REL_Y: int
DRONE_WRITE_MOVE_BASE_REL_Y: int
DRONE_READ_MOVE_BASE_REL_Z: int
DRONE_WRITE_MOVE_BASE_REL_Z: int
DRONE_READ_MOVE_BASE_REL_XY: int
DRONE_WRITE_MOVE_BASE_REL_XY: int
DRONE_READ_MOVE_BASE_REL_XYZ: int
DRONE_WRITE_MOVE_BASE_REL_XYZ: int
DRONE_READ_MOVE_BASE_ABS_YAW: int
DRONE_WRITE_MOVE_BASE_ABS_YAW: int
DRONE_READ_MOVE_BASE_ABS_X: int
DRONE_WRITE_MOVE_BASE_ABS_X: int
DRONE_READ_MOVE_BASE_ABS_Y: int
DRONE_WRITE_MOVE_BASE_ABS_Y: int
DRONE_READ_MOVE_BASE_ABS_Z: int
DRONE_WRITE_MOVE_BASE_ABS_Z: int
DRONE_READ_MOVE_BASE_ABS_XY: int
DRONE_WRITE_MOVE_BASE_ABS_XY: int
DRONE_READ_MOVE_BASE_ABS_XYZ: int
DRONE_WRITE_MOVE_BASE_ABS_XYZ: int
DRONE_READ_MOVE_NED_REL_YAW: int
DRONE_MOVE_RELATIVE_YAW_NED: int
DRONE_READ_MOVE_NED_REL_X: int
DRONE_MOVE_RELATIVE_X_NED: int
DRONE_READ_MOVE_NED_REL_Y: int
DRONE_MOVE_RELATIVE_Y_NED: int
DRONE_READ_MOVE_NED_REL_Z: int
DRONE_MOVE_RELATIVE_Z_NED: int
DRONE_READ_MOVE_NED_REL_XY: int
DRONE_MOVE_RELATIVE_XY_NED: int
DRONE_READ_MOVE_NED_REL_XYZ: int
DRONE_WRITE_MOVE_NED_REL_XYZ: int
DRONE_READ_MOVE_NED_ABS_YAW: int
DRONE_MOVE_ABSOLUTE_YAW_NED: int
DRONE_READ_MOVE_NED_ABS_X: int
DRONE_MOVE_ABSOLUTE_X_NED: int
DRONE_READ_MOVE_NED_ABS_Y: int
DRONE_MOVE_ABSOLUTE_Y_NED: int
DRONE_READ_MOVE_NED_ABS_Z: int
DRONE_MOVE_ABSOLUTE_Z_NED: int
DRONE_READ_MOVE_NED_ABS_XY: int
DRONE_MOVE_ABSOLUTE_XY_NED: int
DRONE_READ_MOVE_NED_ABS_XYZ: int
DRONE_WRITE_MOVE_NED_ABS_XYZ: int
DRONE_READ_MOVE_GEO_ABS_YAW: int
DRONE_WRITE_MOVE_GEO_ABS_YAW: int
DRONE_READ_MOVE_GEO_ABS_LONGITUDE: int
DRONE_WRITE_MOVE_GEO_ABS_LONGITUDE: int
DRONE_READ_MOVE_GEO_ABS_LATITUDE: int
DRONE_WRITE_MOVE_GEO_ABS_LATITUDE: int
DRONE_READ_MOVE_GEO_ABS_ALTITUDE: int
DRONE_WRITE_MOVE_GEO_ABS_ALTITUDE: int
DRONE_READ_MOVE_GEO_ABS_LONGITUDE_LATITUDE: int
DRONE_WRITE_MOVE_GEO_ABS_LONGITUDE_LATITUDE: int
DRONE_READ_ATTITUDE_BASE: int
DRONE_READ_ATTITUDE_BASE_QUAT: int
DRONE_READ_ATTITUDE_NED: int
DRONE_READ_ATTITUDE_NED_QUAT: int
DRONE_READ_POSITION_BASE: int
DRONE_READ_POSITION_NED: int
DRONE_READ_POSITION_GEO: int
DRONE_SET_BAROMETER_MODE: int
MOTION_00_JK: int
MOTION_01_DJ: int
MOTION_02_AC: int
MOTION_03_DC: int
MOTION_04_SV: int
MOTION_05_DV: int
MOTION_06_TP: int
MOTION_07_DP: int
MOTION_08_CP: int
MOTION_09_LP: int
MOTION_0A_RP: int
MOTION_0B_SP: int
MOTION_0C_SM: int
MOTION_0D_AO: int
MOTION_0E_LX: int
MOTION_0F_RX: int
MOTION_10_MR0: int
MOTION_11_MR1: int
MOTION_12_MR2: int
MOTION_13_MR3: int
MOTION_14_HV: int
MOTION_15_IV: int
MOTION_16_TM: int
MOTION_17_SP1: int
MOTION_18_SP2: int
MOTION_19_TX: int
MOTION_1A_HLN: int
MOTION_1B_HLV: int
MOTION_1C_GPIO: int
MOTION_1F_NOP: int
MOTION_20_MRM: int
MOTION_21_P1M: int
MOTION_22_P2M: int
MOTION_23_H1M: int
MOTION_24_H2M: int
MOTION_25_FLM: int
MOTION_26_S0M: int
MOTION_27_S1M: int
MOTION_28_S2M: int
MOTION_29_S3M: int
MOTION_2A_IPM: int
MOTION_30_LP: int
MOTION_31_RP: int
MOTION_32_CV: int
MOTION_33_CA: int
MOTION_34_MR0: int
MOTION_35_MR1: int
MOTION_36_MR2: int
MOTION_37_MR3: int
MOTION_38_CT: int
MOTION_39_TX: int
MOTION_3A_CHLN: int
MOTION_3B_HLV: int
MOTION_3D_WR1: int
MOTION_3E_WR2: int
MOTION_3F_WR3: int
MOTION_40_MRM: int
MOTION_41_P1M: int
MOTION_42_P2M: int
MOTION_43_AC: int
MOTION_44_SV: int
MOTION_45_DV: int
MOTION_46_TP: int
MOTION_47_SP1: int
MOTION_48_UI: int
MOTION_50_DRVRL: int
MOTION_51_DRVNR: int
MOTION_52_DRVVP: int
MOTION_53_DRVVM: int
MOTION_54_DRVAB: int
MOTION_56_DRVSBRK: int
MOTION_57_DRVFBRK: int
MOTION_58_DIRCP: int
MOTION_59_DIRCM: int
MOTION_5A_HMSRC: int
MOTION_60_LHK1: int
MOTION_61_LHK2: int
MOTION_62_LHK3: int
MOTION_63_LHK4: int
MOTION_64_CHKCW: int
MOTION_65_CHKCCW: int
MOTION_66_BHK2: int
MOTION_67_BHK3: int
MOTION_68_BHK4: int
MOTION_69_HLCW: int
MOTION_6A_HLCCW: int
MOTION_6B_HLPCW: int
MOTION_6C_HLPCCW: int
MOTION_6D_DECEN: int
MOTION_6E_DECDIS: int
MOTION_6F_CLRSTEP: int
MOTION_70_VINC: int
MOTION_71_VDEC: int
MOTION_72_DCC: int
MOTION_73_TMSTA: int
MOTION_74_TMSTP: int
MOTION_75_SPSTA: int
MOTION_76_SPSTP: int
MOTION_77_DHOLD: int
MOTION_78_DFREE: int
MOTION_79_R2CLR: int
MOTION_7A_RR3P0: int
MOTION_7B_RR3P1: int
MOTION_7C_MFPC: int
MOTION_81_SYNC0EN: int
MOTION_82_SYNC1EN: int
MOTION_83_SYNC01EN: int
MOTION_84_SYNC2EN: int
MOTION_85_SYNC02EN: int
MOTION_86_SYNC12EN: int
MOTION_87_SYNC012EN: int
MOTION_88_SYNC3EN: int
MOTION_89_SYNC03EN: int
MOTION_8A_SYNC13EN: int
MOTION_8B_SYNC013EN: int
MOTION_8C_SYNC23EN: int
MOTION_8D_SYNC023EN: int
MOTION_8E_SYNC123EN: int
MOTION_8F_SYNC0123EN: int
MOTION_91_SYNC0DIS: int
MOTION_92_SYNC1DIS: int
MOTION_93_SYNC01DIS: int
MOTION_94_SYNC2DIS: int
MOTION_95_SYNC02DIS: int
MOTION_96_SYNC12DIS: int
MOTION_97_SYNC012DIS: int
MOTION_98_SYNC3DIS: int
MOTION_99_SYNC03DIS: int
MOTION_9A_SYNC13DIS: int
MOTION_9B_SYNC013DIS: int
MOTION_9C_SYNC23DIS: int
MOTION_9D_SYNC023DIS: int
MOTION_9E_SYNC123DIS: int
MOTION_9F_SYNC0123DIS: int
MOTION_A1_SYNC0ACT: int
MOTION_A2_SYNC1ACT: int
MOTION_A3_SYNC01ACT: int
MOTION_A4_SYNC2ACT: int
MOTION_A5_SYNC02ACT: int
MOTION_A6_SYNC12ACT: int
MOTION_A7_SYNC012ACT: int
MOTION_A8_SYNC3ACT: int
MOTION_A9_SYNC03ACT: int
MOTION_AA_SYNC13ACT: int
MOTION_AB_SYNC013ACT: int
MOTION_AC_SYNC23ACT: int
MOTION_AD_SYNC023ACT: int
MOTION_AE_SYNC123ACT: int
MOTION_AF_SYNC0123ACT: int
MOTION_C0_SP0L: int
MOTION_C1_SP0E: int
MOTION_C2_SP1L: int
MOTION_C3_SP1E: int
MOTION_C4_SP2L: int
MOTION_C5_SP2E: int
MOTION_C6_INPL: int
MOTION_C7_INPE: int
MOTION_C8_ALML: int
MOTION_C9_ALME: int
MOTION_CA_HLML: int
MOTION_CB_HLME: int
MOTION_CC_HLMM: int
MOTION_CD_SLME: int
MOTION_CE_SLMO: int
MOTION_CF_SLMM: int
MOTION_D0_MANLD: int
MOTION_D1_DSNDE: int
MOTION_D2_SACC: int
MOTION_D3_DPMD0: int
MOTION_D4_DPMD1: int
MOTION_D5_DPL: int
MOTION_D6_DIRL: int
MOTION_D7_DPINV: int
MOTION_D8_PIMD0: int
MOTION_D9_PIMD1: int
MOTION_DA_PIL: int
MOTION_DB_PIINV: int
MOTION_DC_LMINV: int
MOTION_DD_AVTRI: int
MOTION_DE_TMMD: int
MOTION_E0_WR0: int
MOTION_E1_WR1: int
MOTION_E2_WR2: int
MOTION_E3_WR3: int
MOTION_E4_WR4: int
MOTION_E5_WR5: int
MOTION_E6_WR6: int
MOTION_E7_WR7: int
MOTION_E8_RR0: int
MOTION_E9_RR1: int
MOTION_EA_RR2: int
MOTION_EB_RR3: int
MOTION_EC_RR4: int
MOTION_ED_RR5: int
MOTION_EE_RR6: int
MOTION_EF_RR7: int
MOTION_FC_I2CCHK: int
MOTION_FD_I2CRST: int
MOTION_FE_HDRST: int
DVST_00_GCONF: int
DVST_01_GSTAT: int
DVST_02_IFCNT: int
DVST_03_SLAVECONF: int
DVST_04_INP_OUT: int
DVST_05_X_COMPARE: int
DVST_06_OTP_PROG: int
DVST_0A_DRV_CONF: int
DVST_0B_GLOBAL_SCALER: int
DVST_10_IHOLD_IRUN: int
DVST_11_TPOWERDOWN: int
DVST_12_TSTEP: int
DVST_13_TPWMTHRS: int
DVST_14_TCOOLTHRS: int
DVST_15_THIGH: int
DVST_20_RAMPMODE: int
DVST_21_XACTUAL: int
DVST_22_VACTUAL: int
DVST_23_VSTART: int
DVST_24_A1: int
DVST_25_V1: int
DVST_26_AMAX: int
DVST_27_VMAX: int
DVST_28_DMAX: int
DVST_29_TVMAX: int
DVST_2A_D1: int
DVST_2B_VSTOP: int
DVST_2C_TZEROWAIT: int
DVST_2D_XTARGET: int
DSVT_2E_V2: int
DVST_2F_A2: int
DVST_30_D2: int
DVST_31_AACTUAL: int
DVST_33_VDCMIN: int
DVST_34_SWMODE: int
DVST_35_RAMPSTAT: int
DVST_36_XLATCH: int
DVST_38_ENCMODE: int
DVST_39_XENC: int
DVST_3A_ENC_CONST: int
DVST_3B_ENC_STATUS: int
DVST_3C_ENC_LATCH: int
DVST_3D_ENC_DEVIATION: int
DVST_50_ADC_VSUPPLY_AIN: int
DVST_51_ADC_TEMP: int
DVST_52_OTW_OV_VTH: int
DVST_60_MSLUT0: int
DVST_61_MSLUT1: int
DVST_62_MSLUT2: int
DVST_63_MSLUT3: int
DVST_64_MSLUT4: int
DVST_65_MSLUT5: int
DVST_66_MSLUT6: int
DVST_67_MSLUT7: int
DVST_68_MSLUTSEL: int
DVST_69_MSLUTSTART: int
DVST_6A_MSCNT: int
DVST_6B_MSCURACT: int
DVST_6C_CHOPCONF: int
DVST_6D_COOLCONF: int
DVST_6E_DCCTRL: int
DVST_6F_DRVSTATUS: int
DVST_70_PWMCONF: int
DVST_71_PWMSCALE: int
DVST_72_PWM_AUTO: int
DVST_74_SG4_THRS: int
DVST_75_SG4_RESULT: int
DVST_76_SG4_IND: int
ECHO_DELAY: float
UART_READ_TIMEOUT: float
STREAMING_CMD_LIST: list[int]
BROADCAST_CMD_LIST: list[int]
PKG_NAME: str
PKG_FULL_NAME: str
__version__: str
LABEL_DICT: dict[str, str]

class Error(Exception):
    """Base of every failure that this module raises. `code` is the class's number, `msg` its text."""
    def __init__(self, code: int, msg: str, *args, **kwargs) -> None: ...
    code: int
    msg: str

class QVXWarning(UserWarning):
    """Base of the conditions that are reported and may be raised as well. Constructing one prints the call stack and
    issues the Python warning "Warning <code>: <msg>"; a warnings filter "error" raises that instead."""
    def __init__(self, code: int, msg: str, *args, **kwargs) -> None: ...
    code: int
    msg: str

class APINotSupportError(Error):
    """In this product, there is no support for this API.

    Code -8000 (errAPINotSupport)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class USBConnectionError(Error):
    """Failed to connect to QVX DAQ. Please check USB plugin status and serial number.

    Code -8001 (errUSBConnection)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class NetworkConnectionError(Error):
    """Failed to connect to QVX DAQ. Please check network status and IP address.

    Code -8002 (errNetConnection)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTConnectionError(Error):
    """Failed to connect to drone. Please check COM port.

    Code -8012 (errUARTConnection)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class NetworkConnectionLostError(Error):
    """Network DAQ connection lost.

    Code -8003 (errNetConnectionLost)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class ReceivePacketTimeoutError(Error):
    """Receive packet timeout.

    Code -8004 (errPacketTimeout)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class PinsNotExistError(Error):
    """The pin index is not valid or is not recognized.

    Code -8005 (errPinsNotExist)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class PinsValueNotDefineError(Error):
    """Inconsistency between the number of pins & the number of values.

    Code -8006 (errPinsValueNotDefine)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class InputTypeNotConsistentError(Error):
    """Inconsistency between the type of pins & the type of values.

    Code -8007 (errInputTypeNotConsistent)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class InputTypeNotCorrectError(Error):
    """The data type is not valid or is not recognized.

    Code -8008 (errInputTypeNotCorrect)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class InputDataNotInRangeError(Error):
    """The input value is not the acceptable range.

    Code -8009 (errInputDataNotInRange)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class IniFileExtensionNameError(Error):
    """The Ini file extension name is not correct.

    Code -8010 (errIniFileName)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class IniFileNotFoundError(Error):
    """No such file or directory.

    Code -8011 (errIniFileNotFound)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class DIPortNotAvaliableError(Error):
    """The DI port is not available or is already occupied by another process.

    Code -8100 (errDIPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class DOPortNotAvaliableError(Error):
    """The DO port is not available or is already occupied by another process.

    Code -8101 (errDOPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class PWMChannelNotAvaliableError(Error):
    """The PWM channel is not available.

    Code -8102 (errPWMchannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class CounterChannelNotAvaliableError(Error):
    """The counter channel is not available.

    Code -8103 (errCounterchannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class EncoderChannelNotAvaliableError(Error):
    """The encoder channel is not available

    Code -8106 (errEncoderChannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class DIChannelNotAvaliableError(Error):
    """The DI channel is not available

    Code -8107 (errDIChannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class DOChannelNotAvaliableError(Error):
    """The DO channel is not available

    Code -8108 (errDOChannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class RelayCounterIndexError(Error):
    """The relay counter index error is not valid or is not recognized.

    Code -8104 (errRelayIndex)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class RelayPortNotAvaliableError(Error):
    """The relay port is not available or is already occupied by another process.

    Code -8105 (errRelayPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AIChannelNotAvaliableError(Error):
    """The AI channel is not available.

    Code -8200 (errAIChannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AIPortNotAvaliableError(Error):
    """The AI port is not available or is already occupied by another process.

    Code -8201 (errAIPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AICSNotAvaliableError(Error):
    """The AI chip is not valid or is not recognized.

    Code -8202 (errAIChip)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AIModeNotAvaliableError(Error):
    """The AI mode is not valid or is not recognized.

    Code -8203 (errAIMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AIRateNotVaildError(Error):
    """The AI sampling rate is not valid or is not recognized.

    Code -8204 (errAIRate)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AITriggerModeNotAvaliableError(Error):
    """The AI trigger mode is not valid or is not recognized.

    Code -8205 (errAITriggerMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AOPortNotAvaliableError(Error):
    """The AO port is not available or is already occupied by another process.

    Code -8300 (errAOPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AOModeNotVaildError(Error):
    """The AO generation mode is not valid or is not recognized.

    Code -8301 (errAOMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AOSpanNotVaildError(Error):
    """The AO span mode is not valid or is not recognized.

    Code -8302 (errAOSpan)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AOChannelNotAvaliableError(Error):
    """The AO channel is not available.

    Code -8303 (errAOChannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AOFormNotAvaliableError(Error):
    """The AO form is not valid or is not recognized.

    Code -8304 (errAOForm)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AORateNotVaildError(Error):
    """The AO sampling rate is not valid or is not recognized.

    Code -8305 (errAORate)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AHRSPortNotAvaliableError(Error):
    """The AHRS port is not available or is already occupied by another process.

    Code -8400 (errAHRSPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AHRSModeNotAvaliableError(Error):
    """The AHRS mode is not available.

    Code -8401 (errAHRSMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class ThermalPortNotAvaliableError(Error):
    """The thermal port is not available or is already occupied by another process.

    Code -8500 (errThermalPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class ThermalChipSelectNotAvaliableError(Error):
    """The thermal channel is not available.

    Code -8501 (errThermalChipSelect)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class ThermalModeNotVaildError(Error):
    """The thermal filter mode is not valid or is not recognized.

    Code -8502 (errThermalMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class ThermalTypeNotVaildError(Error):
    """The thermal type mode is not valid or is not recognized.

    Code -8503 (errThermalType)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class I2CPortNotAvaliableError(Error):
    """The I2C port is not available or is already occupied by another process.

    Code -8600 (errI2CPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class I2CClockNotSupportError(Error):
    """The I2C clock mode is not available.

    Code -8601 (errI2CClock)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class I2CAddressSizeNotVaildError(Error):
    """The I2C address mode is not available.

    Code -8602 (errI2CAddressSize)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class SPIPortNotAvaliableError(Error):
    """The SPI port is not available or is already occupied by another process.

    Code -8700 (errSPIPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class SPIDataLengthExceedMaxError(Error):
    """The length of data exceeds maximum transfer length of SPI.

    Code -8701 (errSPIDataLengthExceedMax)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class SPIDataSizeNotVaildError(Error):
    """The SPI data size mode is not valid or is not recognized.

    Code -8702 (errSPIDataSize)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class SPIFirstBitNotVaildError(Error):
    """The SPI first bit mode is not valid or is not recognized.

    Code -8703 (errSPIFirstBit)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class SPIPrescalerNotVaildError(Error):
    """The SPI prescaler mode is not valid or is not recognized.

    Code -8704 (errSPIPrescaler)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class SPIModeNotVaildError(Error):
    """The SPI mode is not valid or is not recognized.

    Code -8705 (errSPIMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTPortNotAvaliableError(Error):
    """The UART port is not available or is already occupied by another process.

    Code -8800 (errUARTPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTExceedMaxLengthError(Error):
    """The length of data exceeds maximum transfer length of UART.

    Code -8801 (errUARTExceedMaxLength)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTBaudRateNotSupportError(Error):
    """The UART baud rate is not valid or is not recognized.

    Code -8802 (errUARTBaudRate)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTStopBitNotSupportError(Error):
    """The UART stop bit mode is not valid or is not recognized.

    Code -8803 (errUARTStopBit)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTParityNotSupportError(Error):
    """The UART parity mode is not valid or is not recognized.

    Code -8804 (errUARTParity)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTDataBitNotSupportError(Error):
    """The UART data bit mode is not valid or is not recognized.

    Code -8805 (errUARTDataBit)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class CANPortNotAvaliableError(Error):
    """The CAN port is not available or is already occupied by another process.

    Code -8900 (errCANPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class CANSpeedNotVaildError(Error):
    """The CAN speed mode is not valid or is not recognized.

    Code -8901 (errCANSpeed)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class CANDataLengthNotVaildError(Error):
    """The length of the specified CAN data is invalid.

    Code -8902 (errCANDataLength)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class CANTXNotVaildError(Error):
    """The CAN TX is not valid or is not recognized

    Code -8903 (errCANTX)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class CANTXPriorityNotVaildError(Error):
    """The CAN TX priority is not valid or is not recognized.

    Code -8904 (errCANTXPriority)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class DVSTPortNotAvaliable(Error):
    """Code -8900."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionAxisError(QVXWarning):
    """The motion axis is not valid or is not recognized.

    Code -9100 (errMotionAxis)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionPortNotAvaliable(QVXWarning):
    """The motion port is not available or is already occupied by another process.

    Code -9101 (errMotionPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionStopModeError(QVXWarning):
    """The motion stop mode is not valid or is not recognized.

    Code -9102 (errMotionStopMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionSearchTypeError(QVXWarning):
    """The motion search type is not valid or is not recognized.

    Code -9103 (errMotionSearchType)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionSearchDirectionError(QVXWarning):
    """The motion search direction is not valid or is not recognized.

    Code -9104 (errMotionSearchDirection)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionEnableError(QVXWarning):
    """The motion enable is not valid or is not recognized.

    Code -9105 (errMotionEnable)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionStepperOutputError(QVXWarning):
    """The motion stepper output is not valid or is not recognized.

    Code -9106 (errMotionStepperOutput)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionDirectionError(QVXWarning):
    """The motion direction is not valid or is not recognized.

    Code -9107 (errMotionDirection)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionPolarityError(QVXWarning):
    """The motion polarity is not valid or is not recognized.

    Code -9108 (errMotionPolarity)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionCaptureTypeError(QVXWarning):
    """The motion capture type is not valid or is not recognized.

    Code -9109 (errMotionCaptureType)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionCaptureModeError(QVXWarning):
    """The motion capture mode is not valid or is not recognized.

    Code -9110 (errMotionCaptureMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionBreakPointModeError(QVXWarning):
    """The motion breakpoint mode is not valid or is not recognized.

    Code -9111 (errMotionBreakPoint)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionOperationModeError(QVXWarning):
    """The motion operation mode is not valid or is not recognized.

    Code -9112 (errMotionOperationMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class MotionAccelerationModeError(QVXWarning):
    """The motion acceleration mode is not valid or is not recognized.

    Code -9113 (errMotionAccelerationMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class LUMAPortNotAvaliableError(Error):
    """The LUMA slot is not available or is already occupied by another process.

    Code -9200 (errLUMASlot)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareEnableError(Error):
    """The functionality is not enabled in the firmware

    Code -7000 (errFirmwareEnable)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwarePinIndexError(Error):
    """The pin index error in the firmware.

    Code -7001 (errFirmwarePinIndex)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareHALIndexError(Error):
    """The HAL handle index error in the firmware.

    Code -7002 (errFirmwareHALIndex)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareQVXIndexError(Error):
    """The HAL error in the firmware.

    Code -7003 (errFirmwareQVXIndex)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareRTCError(Error):
    """The RTC error in the firmware.

    Code -7004 (errFirmwareRTC)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareI2CError(Error):
    """The I2C error in the firmware.

    Code -7005 (errFirmwareI2C)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareSPIError(Error):
    """The SPI error in the firmware.

    Code -7006 (errFirmwareSPI)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareUARTError(Error):
    """The UART error in the firmware.

    Code -7007 (errFirmwareUART)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareTIMError(Error):
    """The Time error in the firmware.

    Code -7008 (errFirmwareTIM)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwarePWMError(Error):
    """The PWM error in the firmware.

    Code -7009 (errFirmwarePWM)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwarePulseError(Error):
    """The pulse counter error in the firmware.

    Code -7010 (errFirmwarePulse)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareEncoderError(Error):
    """The encoder counter error in the firmware.

    Code -7011 (errFirmwareEncoder)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareEEPROMError(Error):
    """The EEPROM error in the firmware.

    Code -7012 (errFirmwareEEPROM)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareOLEDError(Error):
    """The OLED error in the firmware.

    Code -7013 (errFirmwareOLED)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareCoreError(Error):
    """The Core error in the firmware.

    Code -7014 (errFirmwareCore)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareDIOError(Error):
    """The DIO error in the firmware.

    Code -7015 (errFirmwareDIO)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareRelayError(Error):
    """The relay error in the firmware.

    Code -7016 (errFirmwareRelay)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareAIError(Error):
    """The AI error in the firmware.

    Code -7017 (errFirmwareAI)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareAOError(Error):
    """The AO error in the firmware.

    Code -7018 (errFirmwareAO)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareMotionError(Error):
    """The motion error in the firmware.

    Code -7019 (errFirmwareMotion)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareDriveError(Error):
    """The drive error in the firmware.

    Code -7020 (errFirmwareDrive)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareThermalError(Error):
    """The thermal error in the firmware.

    Code -7021 (errFirmwareThermal)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareCANError(Error):
    """The CAN error in the firmware.

    Code -7022 (errFirmwareCAN)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareUSBError(Error):
    """The USB read/write error in the firmware.

    Code -7023 (errFirmwareUSB)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareTCPError(Error):
    """The TCP read/write error in the firmware.

    Code -7024 (errFirmwareTCP)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareUDPError(Error):
    """The UDP read/write error in the firmware.

    Code -7025 (errFirmwareUDP)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareBootloaderError(Error):
    """The bootloader error in the firmware.

    Code -7026 (errFirmwareBootloader)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareParserError(Error):
    """The parser error in the firmware.

    Code -7027 (errFirmwareParser)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FirmwareOtherError(Error):
    """The other error in the firmware.

    Code -7028 (errFirmwareOther)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AIQueueOverflowWarning(QVXWarning):
    """Occurrence AI queue overflow.

    Code 520000 (warnAIOverflow)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class UARTQueueOverflowWarning(QVXWarning):
    """Occurrence UART queue overflow.

    Code 520001 (warnUARTOverflow)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class CANQueueOverflowWarning(QVXWarning):
    """Occurrence CAN queue overflow.

    Code 520002 (warnCANOverflow)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AHRSQueueOverflowWarning(QVXWarning):
    """Occurrence AHRS queue overflow.

    Code 520003 (warnAHRSOverflow)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class LateReplyWarning(QVXWarning):
    """A reply that came too late for its request has answered a later one with the same command.

    Code 520004 (warnLateReply)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class DPOTChannelNotAvaliableError(Error):
    """The DPOT channel is not available.

    Code -9301 (errDPOTChannel)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class DPOTPortNotAvaliableError(Error):
    """The DPOT port is not available or is already occupied by another process.

    Code -9300 (errDPOTPort)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class ExtLibNotFoundWarning(QVXWarning):
    """External library "libusb-1.0.dll" not found at indicated path will look at the default path instead

    Code 519000 (warnLibNotFound)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class FlightModeNotAvaliableError(Error):
    """The Drone flight mode is not valid or is not recognized.

    Code -9400 (errDroneFlightMode)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class HeightNotAvaliableError(Error):
    """Input value is out of the allowed range (-8 to 0) m.

    Code -9401 (errDroneZHeight)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class AngleNotAvaliableError(Error):
    """Input value is out of the allowed range (-15 to 15) degree.

    Code -9402 (errDroneAngle)."""
    def __init__(self, msg: str | None = None, *args, **kwargs) -> None: ...

class Coroutine:
    """An operation in progress: await it, or hand it to asyncio.create_task, gather, wait_for."""
    def __iter__(self) -> Iterator[Any]: ...
    def __next__(self) -> Any: ...
    def __await__(self) -> Generator[Any, None, Any]: ...
    def send(self, value: object) -> object:
        """The next future, or raises StopIteration(result)."""
    def throw(self, *exception: object) -> None:
        """Cancels the operation, then raises the exception."""
    def close(self) -> None:
        """Cancels the operation."""
    @property
    def cr_running(self) -> bool: ...

class ReplyPool:
    """Replies by key, at most one for each; a newer one overwrites an older one. A mapping of int to bytes."""
    def __len__(self) -> int: ...
    def __contains__(self, key: object, /) -> bool: ...
    def __getitem__(self, key: Any, /) -> Any: ...
    def __setitem__(self, key: Any, value: Any, /) -> None: ...
    def __delitem__(self, key: Any, /) -> None: ...
    def __iter__(self) -> Iterator[Any]: ...
    def keys(self) -> list[int]: ...
    def get(self, key: int, default: object = None) -> object:
        """The reply, which stays."""
    def pop(self, key: int, *default: object) -> object:
        """Takes the reply."""
    def items(self) -> list[tuple[int, bytes]]: ...
    def clear(self) -> None: ...
    def values(self, *args: Any, **kwargs: Any) -> Any: ...
    def popitem(self, *args: Any, **kwargs: Any) -> Any: ...
    def setdefault(self, *args: Any, **kwargs: Any) -> Any: ...
    def update(self, *args: Any, **kwargs: Any) -> Any: ...

class RawQueue:
    """Streamed items as bytes, oldest first, unbounded: a queue.Queue. An item has no port byte."""
    def __init__(self) -> None: ...
    def qsize(self) -> int:
        """How many items are queued."""
    def full(self) -> bool: ...
    @property
    def maxsize(self) -> int:
        """0: unbounded."""
    def put(self, item: bytes, block: bool = True, timeout: float | None = None) -> None: ...
    def get(self, block: bool = True, timeout: float | None = None) -> bytes:
        """Takes the oldest item; raises queue.Empty when none came in time."""
    def empty(self) -> bool:
        """Whether nothing is queued."""
    def get_nowait(self) -> object:
        """Takes the oldest entry; raises queue.Empty when there is none."""
    def put_nowait(self, item) -> None:
        """Appends an entry; raises queue.Full when a bounded queue is full."""
    def __len__(self) -> int: ...

class SampleQueue:
    """Decoded samples, each a list of volts, oldest first: a bounded queue.Queue."""
    def qsize(self) -> int:
        """How many samples are queued."""
    def full(self) -> bool: ...
    @property
    def maxsize(self) -> int:
        """How many samples fit."""
    @property
    def dropped(self) -> int:
        """How many samples were dropped so far because the queue was full."""
    def put(self, item: list[float], block: bool = True, timeout: float | None = None) -> None:
        """Never waits: raises queue.Full."""
    def get(self, block: bool = True, timeout: float | None = None) -> list[float]:
        """Takes the oldest entry; raises queue.Empty when none came in time."""
    def empty(self) -> bool:
        """Whether nothing is queued."""
    def get_nowait(self) -> object:
        """Takes the oldest entry; raises queue.Empty when there is none."""
    def put_nowait(self, item) -> None:
        """Appends an entry; raises queue.Full when a bounded queue is full."""
    def __len__(self) -> int: ...

class AnswerSet:
    """Distinct answers to a broadcast, as bytes: a set."""
    def __len__(self) -> int: ...
    def __contains__(self, key: object, /) -> bool: ...
    def __iter__(self) -> Iterator[Any]: ...
    def add(self, answer: bytes) -> None: ...
    def clear(self) -> None: ...
    @staticmethod
    def _from_iterable(answers: Iterable[bytes]) -> set[bytes]: ...
    def isdisjoint(self, *args: Any, **kwargs: Any) -> Any: ...

class Gate:
    """A lock that parks a thread while its owner holds it."""
    def acquire(self, blocking: bool = True, timeout: float = -1) -> bool:
        """Closes the gate; False when it stayed held."""
    def release(self) -> None:
        """Opens the gate; RuntimeError when it is open."""
    def locked(self) -> bool:
        """Whether the gate is closed."""
    def __enter__(self) -> Self: ...
    def __exit__(self, *args: object) -> None: ...

class Worker:
    """A thread of the driver. It ends when its device is closed."""
    def is_alive(self) -> bool:
        """Whether the thread runs or waits at its gate."""
    def join(self, timeout: float | None = None) -> None:
        """Waits until the thread has ended."""
    @property
    def name(self) -> str: ...
    @property
    def daemon(self) -> bool: ...

class StreamPool:
    """Raw queues by (command code, port), made when they are first asked for."""
    def __len__(self) -> int: ...
    def __contains__(self, key: object, /) -> bool: ...
    def get(self, key, default: object = None) -> object:
        """The entry, if there is one already."""
    def __getitem__(self, key: Any, /) -> Any: ...
    def __delitem__(self, key: Any, /) -> None: ...
    def __iter__(self) -> Iterator[Any]: ...
    def keys(self) -> list: ...
    def items(self) -> list: ...
    def values(self, *args: Any, **kwargs: Any) -> Any: ...

class BroadcastPool:
    """Sets of answers by command code, made when they are first asked for."""
    def __len__(self) -> int: ...
    def __contains__(self, key: object, /) -> bool: ...
    def get(self, key, default: object = None) -> object:
        """The entry, if there is one already."""
    def __getitem__(self, key: Any, /) -> Any: ...
    def __delitem__(self, key: Any, /) -> None: ...
    def __iter__(self) -> Iterator[Any]: ...
    def keys(self) -> list: ...
    def items(self) -> list: ...
    def values(self, *args: Any, **kwargs: Any) -> Any: ...

class Client:
    """A transport: moves bytes to and from one device and cuts frames out of what it receives."""
    def __init__(self) -> None:
        """A client without a medium: its stream can be filled and split."""
    @property
    def stream(self) -> bytes:
        """Received bytes not yet consumed."""
    @stream.setter
    def stream(self, value: bytes) -> None: ...
    @property
    def last_index(self) -> int:
        """Where in `stream` the search for the next frame end starts."""
    @last_index.setter
    def last_index(self, value: int) -> None: ...
    def _splitPacket(self) -> list[tuple[int, bytes]]:
        """Takes the whole frames from the front of `stream`, as (code, payload)."""
    def sendPacket(self, packet: list[int]) -> None:
        """Writes one whole frame."""
    def recvPacket(self, size: int) -> bytes:
        """What arrived within the read timeout, at most `size` bytes (0..16777216)."""
    def recvAndSplitPacket(self, size: int) -> list[tuple[int, bytes]]:
        """Reads once and returns the frames that are now whole."""
    def disconnect(self) -> None:
        """Closes the medium. Safe to repeat."""

class NetworkClient(Client):
    """A client over a socket."""
    @property
    def socket(self) -> int:
        """The socket's descriptor, 0 when none is open."""
    def setTimeout(self, t: float | None) -> None:
        """Seconds a read waits; None waits without limit."""

class TCPClient(NetworkClient):
    """A command or data channel over TCP."""
    def __init__(self) -> None: ...
    def connect(self, ip_addr: str, port: int) -> bool:
        """Connects within 5 s; raises NetworkConnectionError."""

class Packet_based:
    """What both forms of the packet engine share: the transports and the three pools."""
    @classmethod
    def __init_subclass__(cls, **keywords: object) -> None:
        """Raises TypeError for a handle that overrides what is not called: _putToDataPool, _checkCommandType."""
    def _preparePacket(self, cmd: int, data: list[int]) -> list[int]:
        """The frame of a command."""
    @property
    def client_cmd(self) -> object:
        """Where commands go: a client, or any object with a client's methods."""
    @client_cmd.setter
    def client_cmd(self, value: object) -> None: ...
    @property
    def client_udp(self) -> object:
        """Where broadcasts go."""
    @client_udp.setter
    def client_udp(self, value: object) -> None: ...
    @property
    def resend(self) -> bool | str:
        """Which commands are sent again while their reply is late. "safe", as it is at first: all but those that act again when a device carries them out twice, such as toggles and transfers on a bus. True: all, False: none, which waits as long for the one reply."""
    @resend.setter
    def resend(self, value: bool | str) -> None: ...
    @property
    def late_replies(self) -> bool:
        """Whether a reply whose request has given up, timed out or cancelled, answers the next request with the same command, True at first; the first one on a connection is reported by LateReplyWarning. With False no operation takes a reply that was there before it asked."""
    @late_replies.setter
    def late_replies(self, value: bool) -> None: ...
    @property
    def data_pool_echo(self) -> ReplyPool:
        """Replies to commands."""
    @property
    def data_pool_strm(self) -> StreamPool:
        """Raw queues of streamed items."""
    @property
    def data_pool_bcst(self) -> BroadcastPool:
        """Answers to broadcasts."""
    def _getAllUSBDevices(self) -> list[tuple[str, str]]:
        """Serial number and product name of every attached device. Raises USBConnectionError when devices are attached but none may be opened."""

class Packet(Packet_based):
    """The packet engine, blocking."""
    def __init__(self) -> None: ...
    def _echoPacket(self, cmd: int, data_out: list[int], timeout: float) -> bytes:
        """Sends a command once and waits for its reply. Raises ReceivePacketTimeoutError."""
    def _echoPacketWithRetry(self, cmd: int, data_out: list[int], timeout: float) -> bytes:
        """Sends a command, again while no reply comes, and waits for its reply. Raises ReceivePacketTimeoutError."""
    def _sendPacketWithoutReply(self, cmd: int, data_out: list[int]) -> None:
        """Sends a command."""
    def _getReplyFromPool(self, cmd: int, timeout: float) -> bytes:
        """Takes the reply with this key as soon as it is there. Raises ReceivePacketTimeoutError."""
    def _getStreamingFromPool(self, queue_: object, num_samples: int, delay: float) -> list:
        """Waits for `num_samples` items, however long that takes, and takes them; -1 takes what is there. `delay` is the longest time, in seconds, until an item is noticed."""
    def _broadcastPacket(self, cmd: int, data_out: list[int]) -> AnswerSet:
        """Sends a broadcast three times and collects answers for 5 s."""

class Packet_async(Packet_based):
    """The packet engine, as coroutines."""
    def __init__(self) -> None: ...
    async def _echoPacket_async(self, cmd: int, data_out: list[int], timeout: float = 3) -> bytes | None:
        """As the blocking form; None when no reply came."""
    async def _echoPacketWithRetry_async(self, cmd: int, data_out: list[int], timeout: float = 3) -> bytes | None:
        """As the blocking form; None when no reply came."""
    async def _sendPacketWithoutReply_async(self, cmd: int, data_out: list[int]) -> None:
        """Sends a command."""
    async def _getReplyFromPool_async(self, cmd: int) -> bytes:
        """Takes the reply with this key, however long it takes."""
    async def _getStreamingFromPool_async(self, queue_: object, num_samples: int, delay: float) -> list:
        """As the blocking form."""
    async def _broadcastPacket_async(self, cmd: int, data_out: list[int]) -> AnswerSet:
        """As the blocking form."""

class Device(Packet, Packet_async):
    """What every device handle is: the three pools, and the order of its life."""
    def __init__(self) -> None: ...
    @property
    def killed(self) -> bool:
        """Set by close(); ends the threads."""
    @property
    def connection_lost(self) -> bool:
        """Whether the connection has ended by itself; connect() makes a new one."""
    @property
    def on_connection_lost(self) -> Callable | None:
        """Called with the device once for each loss of its connection, after that has been printed, on a thread of its own: it may wait, and call connect() or close()."""
    @on_connection_lost.setter
    def on_connection_lost(self, value: Callable | None) -> None: ...
    async def connection_lost_async(self) -> bool:
        """Waits until the connection has ended by itself: True. False when there is none, or disconnect() or close() has ended it."""
    def _getDeviceName(self) -> str:
        """The product's label."""
    def _checkCommandType(self, cmd: int, data: bytes) -> str:
        """"streaming", "broadcast", "echo" or "ignore"."""
    def _putToDataPool(self, cmd: int, data: bytes) -> None:
        """Files one received packet."""
    def close(self) -> None:
        """Disconnects and ends every thread; waits in progress end. Safe to repeat."""
    def __enter__(self) -> Self: ...
    def __exit__(self, *args: object) -> None: ...
    async def __aenter__(self) -> Self: ...
    async def __aexit__(self, *args: object) -> None: ...

class NetworkDevice(Device):
    """A device reached over TCP."""
    def __init__(self, verbose: bool = True) -> None: ...
    def connect(self, ip_addr: str, port: int = 7) -> bool:
        """Connects to the device at an IPv4 address (dotted text), within 5 s. Raises NetworkConnectionError."""
    async def connect_async(self, ip_addr: str, port: int = 7) -> bool:
        """As connect, without blocking the event loop."""
    def disconnect(self) -> None:
        """Closes the connection; connect() may follow. Safe to repeat."""
    @property
    def ip_addr(self) -> str:
        """The address connected to last."""
    @property
    def connect_status_cmd(self) -> bool:
        """From connect() to disconnect(), also while the connection is lost."""
    @property
    def recv_cmd_lock(self) -> Gate:
        """The gate of the receive thread."""
    @property
    def recv_cmd_thread(self) -> Worker:
        """The receive thread."""

class ETHDevice(NetworkDevice):
    """The handle of the Ethernet products."""
    def __init__(self, verbose: bool = True) -> None: ...

class USBClient(Client):
    """A device's bulk endpoints over USB."""
    def __init__(self, serial_num: str) -> None:
        """Opens the device with this serial number, the first of all for "default". Raises USBConnectionError."""
    def takeSerialNumber(self) -> str:
        """The device's serial-number string descriptor."""
    def takeProductName(self) -> str:
        """The device's product string descriptor."""
    @property
    def device(self) -> str | None:
        """Where the device is, as "bus/address"; None when disconnected."""
    @property
    def config(self) -> int:
        """bConfigurationValue of the active configuration."""
    @property
    def interface(self) -> int:
        """bInterfaceNumber of its first interface."""
    @property
    def ep_in(self) -> int:
        """The bulk IN endpoint."""
    @property
    def ep_out(self) -> int:
        """The bulk OUT endpoint."""
    def setTimeout(self, t: float | None) -> None:
        """Seconds a read waits; None waits without limit."""

class USBDevice(Device):
    """A device reached over USB."""
    def __init__(self, verbose: bool = True) -> None: ...
    def connect(self, serial_num: str = "default") -> bool:
        """Connects to the device with this serial number, by default to the first one attached. Raises USBConnectionError. "tcp://ADDRESS:PORT" connects to a virtual device instead; raises NetworkConnectionError."""
    async def connect_async(self, serial_num: str = "default") -> bool:
        """As connect, without blocking the event loop."""
    def disconnect(self) -> None:
        """Closes the connection; connect() may follow. Safe to repeat."""
    @property
    def serial_num(self) -> str:
        """What it was connected to last, as connect() was told."""
    @property
    def connect_status_cmd(self) -> bool:
        """From connect() to disconnect(), also while the connection is lost."""
    @property
    def recv_cmd_lock(self) -> Gate:
        """The gate of the receive thread."""
    @property
    def recv_cmd_thread(self) -> Worker:
        """The receive thread."""

class UARTClient(Client):
    """A serial line."""
    def __init__(self) -> None: ...
    def connect(self, port: str, baudrate: int) -> bool:
        """Opens a serial device file such as "/dev/ttyUSB0" for this client alone: raw, 8 data bits, no parity, 1 stop bit. Raises UARTConnectionError."""
    @property
    def socket(self) -> int:
        """The descriptor of the open port, 0 when none is open."""
    @property
    def read_timeout(self) -> float:
        """Seconds that reads wait after the next connect."""
    @read_timeout.setter
    def read_timeout(self, value: float) -> None: ...
    def setTimeout(self, t: float | None) -> None:
        """Seconds a read waits; None waits without limit."""

class UARTDevice(Device):
    """A device reached over a serial line."""
    def __init__(self, baudrate: int = 115200, verbose: bool = True) -> None: ...
    def connect(self, port: str) -> bool:
        """Opens a serial device file such as "/dev/ttyUSB0" for this handle alone. Raises UARTConnectionError. "tcp://ADDRESS:PORT" connects to a virtual device instead; raises NetworkConnectionError."""
    async def connect_async(self, port: str) -> bool:
        """As connect, without blocking the event loop."""
    def disconnect(self) -> None:
        """Closes the port; connect() may follow. Safe to repeat."""
    @property
    def baudrate(self) -> int:
        """The rate of every connection, in bit/s."""
    @property
    def port(self) -> str:
        """The port connected to last."""
    @property
    def connect_status_cmd(self) -> bool:
        """From connect() to disconnect(), also while the connection is lost."""
    @property
    def recv_cmd_lock(self) -> Gate:
        """The gate of the receive thread."""
    @property
    def recv_cmd_thread(self) -> Worker:
        """The receive thread."""

class WifiDevice(NetworkDevice):
    """A device reached over Wi-Fi: a command channel and a data channel."""
    def __init__(self, verbose: bool = True) -> None: ...
    def connect(self, ip_addr: str, port: int = 1336, verbose: bool | None = None, cmd_port: int = 7) -> bool:
        """Connects both channels to the device at an IPv4 address (dotted text), within 5 s each; `port` is the data channel's. `verbose` overrules the handle's own for the messages about this connection. Raises NetworkConnectionError, and then neither is connected."""
    async def connect_async(self, ip_addr: str, port: int = 1336, verbose: bool | None = None, cmd_port: int = 7) -> bool:
        """As connect, without blocking the event loop."""
    def disconnect(self, verbose: bool | None = None) -> None:
        """Closes both channels; connect() may follow. `verbose` is whether that is printed, by default as for connect(). Safe to repeat."""
    @property
    def client_data(self) -> object:
        """Where bulk data comes from: a client, or any object with a client's methods."""
    @client_data.setter
    def client_data(self, value: object) -> None: ...
    @property
    def connect_status_data(self) -> bool:
        """From connect() to disconnect(), also while the connection is lost."""
    @property
    def recv_data_lock(self) -> Gate:
        """The gate of the receive thread."""
    @property
    def recv_data_thread(self) -> Worker:
        """The receive thread."""

class SystemBased:
    """Checks shared by both forms of the system module."""
    def _checkLUMASlot(self, slot: int) -> None:
        """Raises LUMAPortNotAvaliableError unless the slot is 1, 2 or 4."""

class SystemModule_async(SystemBased):
    """The system module as coroutines."""
    async def Sys_getDriverInfo_async(self, timeout: float = 3) -> list[str]:
        """Model name, mode and firmware version."""
    async def Sys_getPythonVersion_async(self, timeout: float = 3) -> str:
        """The version of this driver; nothing is sent."""
    async def Sys_getDeviceAlias_async(self, timeout: float = 3) -> str:
        """The name given to the device."""
    async def Sys_setDeviceAlias_async(self, alias: str, timeout: float = 3) -> int:
        """Names the device; it keeps the name. At most 64 printable ASCII characters, else InputDataNotInRangeError. Returns 0."""
    async def Sys_getPinModeInPort_async(self, port: int, timeout: float = 3) -> tuple[int, list[str]]:
        """How many pins the port has, and the mode of each of eight pins, pin 0 first: "Disabled", "Idle", "DI", "DO", "UART", "I2C", "SPI", "CAN", "PWM" or "ADC"."""
    async def Sys_getRTC_async(self, timeout: float = 3) -> str:
        """The device's clock as "YYYY-MM-DD, hh:mm:ss"."""
    async def Sys_setRTC_async(self, year: int, month: int, day: int, hour: int, minute: int, second: int, timeout: float = 3) -> int:
        """Sets the clock. Year 1900..2155, month 1..12, day 1..31, hour 0..23, minute and second 0..59. Returns 0."""
    async def Sys_startRTCAlarm_async(self, mode: int, day: int, hour: int, minute: int, second: int, timeout: float = 3) -> int:
        """Starts the alarm. Mode 0: day of the month 1..31; mode 1: day of the week 1..7. Returns 0."""
    async def Sys_stopRTCAlarm_async(self, timeout: float = 3) -> int:
        """Stops the alarm. Returns 0."""
    async def Sys_getSerialNumber_async(self, timeout: float = 3) -> str:
        """The serial number, 8 characters."""
    async def Sys_reboot_async(self, timeout: float = 3) -> int:
        """Restarts the device, which ends the connection. Returns 0."""
    async def Sys_getMode_async(self, slot: int, timeout: float = 3) -> str:
        """The mode of a slot (1, 2 or 4): "Idle", "DI", "DO", "DIO", "Motion", "AIO" or "Switch". Raises LUMAPortNotAvaliableError."""
    async def Sys_setIdleMode_async(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "Idle". Returns 0."""
    async def Sys_setDIMode_async(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "DI". Returns 0."""
    async def Sys_setDOMode_async(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "DO". Returns 0."""
    async def Sys_setDIOMode_async(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "DIO". Returns 0."""
    async def Sys_setMotionMode_async(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "Motion". Returns 0."""
    async def Sys_setAIOMode_async(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "AIO". Returns 0."""
    async def Sys_setSwitchMode_async(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "Switch". Returns 0."""
    async def _Sys_setSlotMode_async(self, slot: int, mode: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to a mode by number, 0..6. Returns 0."""
    async def _Sys_getRTCAlarmState_async(self, timeout: float = 3) -> str:
        """"on" or "off"."""
    async def _Sys_getRTCAlarmConfig_async(self, timeout: float = 3) -> str:
        """The moment of the alarm as "YYYY-MM-DD, hh:mm:ss"."""
    async def _Sys_rebootOnBootloader_async(self, timeout: float = 3) -> int:
        """Restarts the device into its firmware loader. Returns 0."""
    async def _getEEPROMPage_async(self, page_number: int, timeout: float = 3) -> list[int]:
        """The bytes of an EEPROM page."""
    async def _setEEPROMPage_async(self, page_number: int, int_list: list[int], timeout: float = 3) -> int:
        """Writes the first bytes of an EEPROM page, at most 64; the others stay. Returns 0."""
    async def _getEEPROMDevice_async(self, device_number: int, timeout: float = 3) -> list[int]:
        """The identification record of an EEPROM."""
    async def _setEEPROMByte_async(self, page_number: int, byte_index: int, value: int, timeout: float = 3) -> int:
        """Writes one byte of an EEPROM page. Returns 0."""
    async def _getDriverInfo_dev_async(self, mode: int, timeout: float = 3) -> str:
        """Driver information by number."""
    async def _getThreads_async(self, timeout: float = 3) -> str:
        """What the firmware's threads are doing."""
    async def _resetFactory_async(self, timeout: float = 3) -> int:
        """Restores the factory settings. Returns 0."""
    async def _setSerialNumber_async(self, serial_num: str, timeout: float = 3) -> int:
        """Writes the serial number. Returns 0."""

class SystemModule(SystemBased):
    """Identity, clock and alarm, slots and pins of a device."""
    def Sys_getDriverInfo(self, timeout: float = 3) -> list[str]:
        """Model name, mode and firmware version."""
    def Sys_getPythonVersion(self, timeout: float = 3) -> str:
        """The version of this driver; nothing is sent."""
    def Sys_getDeviceAlias(self, timeout: float = 3) -> str:
        """The name given to the device."""
    def Sys_setDeviceAlias(self, alias: str, timeout: float = 3) -> int:
        """Names the device; it keeps the name. At most 64 printable ASCII characters, else InputDataNotInRangeError. Returns 0."""
    def Sys_getPinModeInPort(self, port: int, timeout: float = 3) -> tuple[int, list[str]]:
        """How many pins the port has, and the mode of each of eight pins, pin 0 first: "Disabled", "Idle", "DI", "DO", "UART", "I2C", "SPI", "CAN", "PWM" or "ADC"."""
    def Sys_getRTC(self, timeout: float = 3) -> str:
        """The device's clock as "YYYY-MM-DD, hh:mm:ss"."""
    def Sys_setRTC(self, year: int, month: int, day: int, hour: int, minute: int, second: int, timeout: float = 3) -> int:
        """Sets the clock. Year 1900..2155, month 1..12, day 1..31, hour 0..23, minute and second 0..59. Returns 0."""
    def Sys_startRTCAlarm(self, mode: int, day: int, hour: int, minute: int, second: int, timeout: float = 3) -> int:
        """Starts the alarm. Mode 0: day of the month 1..31; mode 1: day of the week 1..7. Returns 0."""
    def Sys_stopRTCAlarm(self, timeout: float = 3) -> int:
        """Stops the alarm. Returns 0."""
    def Sys_getSerialNumber(self, timeout: float = 3) -> str:
        """The serial number, 8 characters."""
    def Sys_reboot(self, timeout: float = 3) -> int:
        """Restarts the device, which ends the connection. Returns 0."""
    def Sys_getMode(self, slot: int, timeout: float = 3) -> str:
        """The mode of a slot (1, 2 or 4): "Idle", "DI", "DO", "DIO", "Motion", "AIO" or "Switch". Raises LUMAPortNotAvaliableError."""
    def Sys_setIdleMode(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "Idle". Returns 0."""
    def Sys_setDIMode(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "DI". Returns 0."""
    def Sys_setDOMode(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "DO". Returns 0."""
    def Sys_setDIOMode(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "DIO". Returns 0."""
    def Sys_setMotionMode(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "Motion". Returns 0."""
    def Sys_setAIOMode(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "AIO". Returns 0."""
    def Sys_setSwitchMode(self, slot: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to "Switch". Returns 0."""
    def _Sys_setSlotMode(self, slot: int, mode: int, timeout: float = 3) -> int:
        """Switches a slot (1, 2 or 4) to a mode by number, 0..6. Returns 0."""
    def _Sys_getRTCAlarmState(self, timeout: float = 3) -> str:
        """"on" or "off"."""
    def _Sys_getRTCAlarmConfig(self, timeout: float = 3) -> str:
        """The moment of the alarm as "YYYY-MM-DD, hh:mm:ss"."""
    def _Sys_rebootOnBootloader(self, timeout: float = 3) -> int:
        """Restarts the device into its firmware loader. Returns 0."""
    def _getEEPROMPage(self, page_number: int, timeout: float = 3) -> list[int]:
        """The bytes of an EEPROM page."""
    def _setEEPROMPage(self, page_number: int, int_list: list[int], timeout: float = 3) -> int:
        """Writes the first bytes of an EEPROM page, at most 64; the others stay. Returns 0."""
    def _getEEPROMDevice(self, device_number: int, timeout: float = 3) -> list[int]:
        """The identification record of an EEPROM."""
    def _setEEPROMByte(self, page_number: int, byte_index: int, value: int, timeout: float = 3) -> int:
        """Writes one byte of an EEPROM page. Returns 0."""
    def _getDriverInfo_dev(self, mode: int, timeout: float = 3) -> str:
        """Driver information by number."""
    def _getThreads(self, timeout: float = 3) -> str:
        """What the firmware's threads are doing."""
    def _resetFactory(self, timeout: float = 3) -> int:
        """Restores the factory settings. Returns 0."""
    def _setSerialNumber(self, serial_num: str, timeout: float = 3) -> int:
        """Writes the serial number. Returns 0."""

class NetworkBased:
    """Checks shared by both forms of the network module."""
    def _checkIPAddr(self, ip_addr: str) -> None:
        """Raises InputDataNotInRangeError unless it is the address of a host in dotted form."""
    def _checkSubnetMask(self, subnet_mask: str) -> None:
        """Raises InputDataNotInRangeError unless it is 255.0.0.0 to 255.255.255.252, ones before zeros."""
    def _checkMACAddr(self, mac_addr: str) -> None:
        """Raises InputDataNotInRangeError unless it is the address of one device: six pairs of hexadecimal digits between colons."""

class NetworkModule_async(NetworkBased):
    """The device's addresses on the network as coroutines."""
    async def Net_getIP_async(self, timeout: float = 3) -> tuple[str, str]:
        """The IPv4 address and the subnet mask in use, such as ("192.168.1.20", "255.255.255.0")."""
    async def Net_setIP_async(self, ip_addr: str, subnet_mask: str, timeout: float = 3) -> int:
        """Gives the device an IPv4 address, which it uses from its next restart on (Sys_reboot). Address 1.0.0.0 to 223.255.255.255 and not the first or the last of its subnet, mask 255.0.0.0 to 255.255.255.252. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""
    async def Net_getGateway_async(self, timeout: float = 3) -> str:
        """The gateway in use; "0.0.0.0" is none."""
    async def Net_setGateway_async(self, gateway: str, timeout: float = 3) -> int:
        """Sets the gateway, used from the next restart on; "0.0.0.0" for none. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""
    async def Net_getMAC_async(self, timeout: float = 3) -> str:
        """The MAC address in use, such as "02:51:56:00:00:01"."""
    async def _Net_setMAC_async(self, mac_addr: str, timeout: float = 3) -> int:
        """Writes the MAC address, used from the next restart on. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""

class NetworkModule(NetworkBased):
    """The device's addresses on the network."""
    def Net_getIP(self, timeout: float = 3) -> tuple[str, str]:
        """The IPv4 address and the subnet mask in use, such as ("192.168.1.20", "255.255.255.0")."""
    def Net_setIP(self, ip_addr: str, subnet_mask: str, timeout: float = 3) -> int:
        """Gives the device an IPv4 address, which it uses from its next restart on (Sys_reboot). Address 1.0.0.0 to 223.255.255.255 and not the first or the last of its subnet, mask 255.0.0.0 to 255.255.255.252. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""
    def Net_getGateway(self, timeout: float = 3) -> str:
        """The gateway in use; "0.0.0.0" is none."""
    def Net_setGateway(self, gateway: str, timeout: float = 3) -> int:
        """Sets the gateway, used from the next restart on; "0.0.0.0" for none. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""
    def Net_getMAC(self, timeout: float = 3) -> str:
        """The MAC address in use, such as "02:51:56:00:00:01"."""
    def _Net_setMAC(self, mac_addr: str, timeout: float = 3) -> int:
        """Writes the MAC address, used from the next restart on. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""

class WifiBased:
    """Checks shared by both forms of the Wi-Fi module."""
    def _checkWifiSSID(self, ssid: str) -> None:
        """Raises InputDataNotInRangeError unless it is 1 to 32 bytes of UTF-8 without control characters."""
    def _checkWifiSecurity(self, security: int) -> None:
        """0, 1 or 2; else InputDataNotInRangeError."""
    def _checkWifiPassword(self, password: str, security: int) -> None:
        """Raises InputDataNotInRangeError unless it is 8 to 63 printable ASCII characters, or empty for an open network."""
    def _checkWifiBandwidth(self, bandwidth: int) -> None:
        """20 or 40; else InputDataNotInRangeError."""

class WifiModule_async(WifiBased):
    """The radio of a wireless device as coroutines."""
    async def Wifi_getRSSI_async(self, timeout: float = 3) -> int:
        """How strongly the device receives its access point, in dBm (-127..0). Raises FirmwareCoreError when the device is an access point itself."""
    async def Wifi_getConfiguration_async(self, timeout: float = 3) -> tuple[str, str, str]:
        """The configuration that is kept: SSID, security ("Open", "WPA2" or "WPA3") and mode ("Station" or "AP"). The password cannot be read."""
    async def Wifi_setConfiguration_async(self, ssid: str, password: str, security: int, timeout: float = 3) -> int:
        """Sets the network, used from the next restart on (Sys_reboot). SSID 1..32 bytes; security 0 open, 1 WPA2, 2 WPA3; password 8..63 printable ASCII characters, empty for an open network. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""
    async def Wifi_setAP_async(self, enable: int, timeout: float = 3) -> int:
        """1: the device opens the configured network as its access point; 0: it joins it. From the next restart on. Returns 0."""
    async def Wifi_getBandwidth_async(self, timeout: float = 3) -> int:
        """The width of the radio channel in MHz."""
    async def Wifi_setBandwidth_async(self, bandwidth: int, timeout: float = 3) -> int:
        """Sets the width of the radio channel, 20 or 40 MHz. Returns 0."""

class WifiModule(WifiBased):
    """The radio of a wireless device."""
    def Wifi_getRSSI(self, timeout: float = 3) -> int:
        """How strongly the device receives its access point, in dBm (-127..0). Raises FirmwareCoreError when the device is an access point itself."""
    def Wifi_getConfiguration(self, timeout: float = 3) -> tuple[str, str, str]:
        """The configuration that is kept: SSID, security ("Open", "WPA2" or "WPA3") and mode ("Station" or "AP"). The password cannot be read."""
    def Wifi_setConfiguration(self, ssid: str, password: str, security: int, timeout: float = 3) -> int:
        """Sets the network, used from the next restart on (Sys_reboot). SSID 1..32 bytes; security 0 open, 1 WPA2, 2 WPA3; password 8..63 printable ASCII characters, empty for an open network. Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0."""
    def Wifi_setAP(self, enable: int, timeout: float = 3) -> int:
        """1: the device opens the configured network as its access point; 0: it joins it. From the next restart on. Returns 0."""
    def Wifi_getBandwidth(self, timeout: float = 3) -> int:
        """The width of the radio channel in MHz."""
    def Wifi_setBandwidth(self, bandwidth: int, timeout: float = 3) -> int:
        """Sets the width of the radio channel, 20 or 40 MHz. Returns 0."""

class SystemAnalogModule_async:
    """What a wireless device measures of itself as coroutines."""
    async def Wifi_readBattery_async(self, timeout: float = 3) -> int:
        """The charge that is left, 0..100 per cent."""
    async def _Wifi_readAcceleration_async(self, timeout: float = 3) -> list[float]:
        """Acceleration along x, y and z in m/s^2; at rest and level about [0, 0, 9.81]."""
    async def _Wifi_readThermometer_async(self, timeout: float = 3) -> float:
        """Temperature inside the case in degrees Celsius."""

class SystemAnalogModule:
    """What a wireless device measures of itself."""
    def Wifi_readBattery(self, timeout: float = 3) -> int:
        """The charge that is left, 0..100 per cent."""
    def _Wifi_readAcceleration(self, timeout: float = 3) -> list[float]:
        """Acceleration along x, y and z in m/s^2; at rest and level about [0, 0, 9.81]."""
    def _Wifi_readThermometer(self, timeout: float = 3) -> float:
        """Temperature inside the case in degrees Celsius."""

class UDPClient(NetworkClient):
    """Broadcasts to every attached network, and receives the answers."""
    def __init__(self) -> None: ...
    def bind(self, ip_addr: str, port: int) -> bool:
        """Listens on a UDP port (0: any that is free) of a local IPv4 address ("": all), beside other programs that do. Raises NetworkConnectionError."""
    def connect(self, ip_addr: str, port: int) -> bool:
        """Listens on a UDP port (0: any that is free) of a local IPv4 address ("": all), beside other programs that do. Raises NetworkConnectionError."""
    def sendBcstPacket(self, packet: list[int]) -> None:
        """Sends one frame to every device, from each local IPv4 address. Raises NetworkConnectionError when it could leave from none."""

class DeviceRecord:
    """What a device on the network says of itself. Records with equal fields are equal."""
    @property
    def model(self) -> str:
        """The product, such as "Ferox-A"."""
    @property
    def name(self) -> str:
        """The name given to it, its alias."""
    @property
    def serial(self) -> str:
        """The serial number."""
    @property
    def ip(self) -> str:
        """The IPv4 address in effect."""
    @property
    def subnet_mask(self) -> str:
        """The subnet mask in effect."""
    @property
    def mac(self) -> str:
        """The MAC address, such as "02:51:56:00:00:01"."""
    @property
    def firmware(self) -> str:
        """The version of the firmware."""

class BroadcastBased:
    """What both forms of the broadcast module share."""

class BroadcastModule(BroadcastBased):
    """Finds devices on the attached networks, and gives them orders."""
    def Broadcast_findDevices(self, expected: int = 0, timeout: float = 5, progress: Callable[[DeviceRecord], object] | None = None) -> list[DeviceRecord]:
        """The devices that answer within `timeout` seconds, each once, in the order of their answers. Returns as soon as `expected` devices (0: no number) have answered. `progress` is called with each record when its device is found; what it raises ends the search."""
    def Broadcast_setIP(self, mac_addr: str, ip_addr: str, subnet_mask: str = '255.255.255.0', timeout: float = 5) -> int:
        """Gives the device with this MAC address an IPv4 address, which it keeps and uses from its next start on (Broadcast_reboot). Raises ReceivePacketTimeoutError when no such device answers. Returns 0."""
    def Broadcast_reboot(self, mac_addr: str, timeout: float = 5) -> int:
        """Restarts the device with this MAC address. Raises ReceivePacketTimeoutError when no such device answers. Returns 0."""
    def Broadcast_ring(self, mac_addr: str, timeout: float = 5) -> int:
        """Makes the device with this MAC address blink or sound, so that it is found among others. Raises ReceivePacketTimeoutError when no such device answers. Returns 0."""

class BroadcastModule_async(BroadcastBased):
    """The broadcast module as coroutines."""
    async def Broadcast_findDevices_async(self, expected: int = 0, timeout: float = 5, progress: Callable[[DeviceRecord], object] | None = None) -> list[DeviceRecord]:
        """The devices that answer within `timeout` seconds, each once, in the order of their answers. Returns as soon as `expected` devices (0: no number) have answered. `progress` is called with each record when its device is found; what it raises ends the search."""
    async def Broadcast_setIP_async(self, mac_addr: str, ip_addr: str, subnet_mask: str = '255.255.255.0', timeout: float = 5) -> int:
        """Gives the device with this MAC address an IPv4 address, which it keeps and uses from its next start on (Broadcast_reboot). Raises ReceivePacketTimeoutError when no such device answers. Returns 0."""
    async def Broadcast_reboot_async(self, mac_addr: str, timeout: float = 5) -> int:
        """Restarts the device with this MAC address. Raises ReceivePacketTimeoutError when no such device answers. Returns 0."""
    async def Broadcast_ring_async(self, mac_addr: str, timeout: float = 5) -> int:
        """Makes the device with this MAC address blink or sound, so that it is found among others. Raises ReceivePacketTimeoutError when no such device answers. Returns 0."""

class BroadcastDevice(Device, BroadcastModule, BroadcastModule_async):
    """Every device on the attached networks, found by UDP broadcast."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""
    def connect(self) -> bool:
        """Listens for answers on UDP port 6667 of all addresses. Raises NetworkConnectionError."""
    async def connect_async(self) -> bool:
        """As connect, without blocking the event loop."""
    def disconnect(self) -> None:
        """Stops listening; connect() may follow. Safe to repeat."""
    @property
    def connect_status_udp(self) -> bool:
        """From connect() to disconnect(), also while the connection is lost."""
    @property
    def recv_udp_lock(self) -> Gate:
        """The gate of the receive thread."""
    @property
    def recv_udp_thread(self) -> Worker:
        """The receive thread."""

class AIUnion:
    """What every kind of analog input shares."""
    @property
    def ai_dict(self) -> dict[int, list[int]]:
        """The AI ports: port number to its channels."""
    @property
    def ai_ratio(self) -> float:
        """Volts per least-significant bit."""
    @property
    def ai_max_rate(self) -> float:
        """The product's highest rate in Hz."""
    @property
    def ai_num_channels(self) -> int:
        """Channels per sample, 1..8."""
    def _checkAIPort(self, port: int) -> None:
        """Raises AIPortNotAvaliableError."""
    def _convertAITriggerModeToMask(self, mode: int) -> int:
        """Bit 0 command, bit 1 real-time clock, bit 2 external interrupt."""
    def AI_open(self, port: int, timeout: float = 3) -> int:
        """Opens analog input; streamed samples are decoded only while it is open. Where inputs are always on (FeroxA, FeroxA2, FeroxI, FeroxIA) nothing is sent, and a device that is closed is not noticed; streams need it all the same. Raises AIPortNotAvaliableError. Returns 0."""
    async def AI_open_async(self, port: int) -> int:
        """Opens analog input; streamed samples are decoded only while it is open. Where inputs are always on (FeroxA, FeroxA2, FeroxI, FeroxIA) nothing is sent, and a device that is closed is not noticed; streams need it all the same. Raises AIPortNotAvaliableError. Returns 0."""
    def AI_close(self, port: int, timeout: float = 3) -> int:
        """Closes analog input and ends its stream; samples that have come can still be read. Where inputs are always on (FeroxA, FeroxA2) nothing is sent: call AI_closeStreaming first, else the stream goes on and its samples wait in memory until the input is opened again. Raises AIPortNotAvaliableError. Returns 0."""
    async def AI_close_async(self, port: int) -> int:
        """Closes analog input and ends its stream; samples that have come can still be read. Where inputs are always on (FeroxA, FeroxA2) nothing is sent: call AI_closeStreaming first, else the stream goes on and its samples wait in memory until the input is opened again. Raises AIPortNotAvaliableError. Returns 0."""

class AIBased(AIUnion):
    """State, checks, decoder thread and streaming of analog input."""
    @property
    def ai_echo_cmd(self) -> int:
        """The command of the on-demand read."""
    @property
    def ai_strm_cmd(self) -> int:
        """The command that starts streaming."""
    @property
    def ai_mode(self) -> int:
        """The mode set last."""
    @property
    def ai_killed(self) -> bool: ...
    @property
    def ai_open_flag(self) -> bool:
        """Whether analog input is open."""
    @property
    def chip_select_p0(self) -> list[int]: ...
    @property
    def chip_select_p1(self) -> list[int]: ...
    @property
    def chip_select_p3(self) -> list[int]: ...
    @property
    def ai_data_queue_list(self) -> list[RawQueue]:
        """Raw blocks, by port index."""
    @property
    def ai_signal_queue_list(self) -> list[SampleQueue]:
        """Decoded samples, by port index."""
    @property
    def ai_lock(self) -> Gate:
        """The gate of the decoder thread."""
    @property
    def ai_stream_thread(self) -> Worker:
        """The decoder thread."""
    def _checkAIMode(self, mode: int) -> None:
        """0, 1 or 2; else AIModeNotAvaliableError."""
    def _checkAIChannel(self, channel: int) -> None:
        """1..8; else AIChannelNotAvaliableError."""
    def _checkAITriggerMode(self, mode: int) -> None:
        """0..6; else AITriggerModeNotAvaliableError."""
    def _checkAIChipSelect(self, cs: list[int]) -> None:
        """Each 0, 1 or 2; else AICSNotAvaliableError."""
    def _ckeckAISamplingRate(self, port: int, rate: int) -> None:
        """1 to the product's limit, in Hz; else AIRateNotVaildError. Raises AIPortNotAvaliableError."""
    def _AI_changePortToIndex(self, port: int) -> int:
        """The place of the port in the lists of queues. Raises AIPortNotAvaliableError."""
    def _AI_free(self) -> None:
        """Ends the decoder thread."""
    def AI_openStreaming(self, port: int, timeout: float = 3) -> int:
        """Prepares a port for streaming. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open. Returns 0."""
    async def AI_openStreaming_async(self, port: int) -> int:
        """Prepares a port for streaming. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open. Returns 0."""
    def AI_startStreaming(self, port: int) -> int:
        """Starts streaming; samples arrive from now on. Does not wait for a reply: after a refusal none come. Raises AIPortNotAvaliableError. Returns 0."""
    async def AI_startStreaming_async(self, port: int) -> int:
        """Starts streaming; samples arrive from now on. Does not wait for a reply: after a refusal none come. Raises AIPortNotAvaliableError. Returns 0."""
    def AI_closeStreaming(self, port: int, timeout: float = 3) -> int:
        """Ends streaming; samples that have come can still be read. Raises AIPortNotAvaliableError. Returns 0."""
    async def AI_closeStreaming_async(self, port: int) -> int:
        """Ends streaming; samples that have come can still be read. Raises AIPortNotAvaliableError. Returns 0."""
    def AI_setMode(self, port: int, mode: int, timeout: float = 3) -> int:
        """Chooses the acquisition: 0 on demand, 1 a number of samples, 2 continuous. Raises AIModeNotAvaliableError, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    async def AI_setMode_async(self, port: int, mode: int) -> int:
        """Chooses the acquisition: 0 on demand, 1 a number of samples, 2 continuous. Raises AIModeNotAvaliableError, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    def AI_setNumSamples(self, port: int, num_samples: int, timeout: float = 3) -> int:
        """How many samples mode 1 acquires, 0..4294967295. Raises InputDataNotInRangeError outside, AIPortNotAvaliableError, and FirmwareAIError for 0 and while a stream runs. Returns 0."""
    async def AI_setNumSamples_async(self, port: int, num_samples: int) -> int:
        """How many samples mode 1 acquires, 0..4294967295. Raises InputDataNotInRangeError outside, AIPortNotAvaliableError, and FirmwareAIError for 0 and while a stream runs. Returns 0."""
    def AI_setSamplingRate(self, port: int, sampling_rate: int, timeout: float = 3) -> int:
        """Samples per second and channel, in Hz, from 1 to the product's limit, which depends on the channels in use where their number can be chosen. Raises AIRateNotVaildError outside, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    async def AI_setSamplingRate_async(self, port: int, sampling_rate: int) -> int:
        """Samples per second and channel, in Hz, from 1 to the product's limit, which depends on the channels in use where their number can be chosen. Raises AIRateNotVaildError outside, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    def _checkAIPinState(self, port: int, timeout: float = 3) -> None:
        """Raises AIPortNotAvaliableError unless the port's pins are ADC in the device's pin query, where AI port 0 of CordlogF1AD and CordlogF1AOD is port 4: 0 to 3 are digital."""
    async def _checkAIPinState_async(self, port: int) -> None:
        """Raises AIPortNotAvaliableError unless the port's pins are ADC in the device's pin query, where AI port 0 of CordlogF1AD and CordlogF1AOD is port 4: 0 to 3 are digital."""

class AIModule_async(AIBased):
    """16-bit analog input as coroutines."""
    async def AI_readOnDemand_async(self, port: int) -> list[float]:
        """One sample now: volts of each channel. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open."""
    async def AI_readStreaming_async(self, port: int, num_samples: int, delay: float) -> list[list[float]]:
        """At most `num_samples` streamed samples (-1: all that are there), oldest first, each a list of volts. Waits at most `delay` seconds for them and returns what is there; never raises for lack of data. Raises InputDataNotInRangeError for `num_samples` below -1 and `delay` below 0, and AIPortNotAvaliableError."""
    async def AI_readStreamingArray_async(self, port: int, num_samples: int, delay: float) -> numpy.ndarray:
        """As AI_readStreaming, as a float64 array of shape (samples, channels) in volts; a change of the number of channels ends it early. Needs numpy."""
    async def AI_enableChannel_async(self, port: int, channel: int) -> int:
        """How many channels a sample has, 1..8; on CordlogF1AD and CordlogF1AOD, else APINotSupportError. Samples that have come keep their number. The device keeps it until it restarts, for the next program too, and cannot be asked for it: a new object takes it to be 8, and one that is connected again what it was. Call this after every connect, else values may pass for those of other channels. Raises AIChannelNotAvaliableError, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    async def AI_enableCS_async(self, slot: int, chip_select: list[int]) -> int:
        """Enables chips 0..2 of a slot; on LUMA, else APINotSupportError. Raises AICSNotAvaliableError, also for none, and AIPortNotAvaliableError. Returns 0."""
    async def AI_setTriggerMode_async(self, port: int, mode: int) -> int:
        """What starts streaming: 0 command, 1 clock, 2 external interrupt, 3 command and clock, 4 command and interrupt, 5 clock and interrupt, 6 all; not on CordlogF1AD and CordlogF1AOD: APINotSupportError. Raises AITriggerModeNotAvaliableError, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    async def _AI_getDataRTC_async(self, port: int) -> list[float]:
        """The sample taken at the clock's last trigger: volts of each channel. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open."""
    async def _AI_getCounter_async(self, port: int) -> list[int]:
        """The device's counters: samples acquired, packets sent, samples lost. Raises AIPortNotAvaliableError."""
    async def _AI_clearBufferStatus_async(self, port: int) -> int:
        """Empties the device's buffer and sets its counters to 0. Raises AIPortNotAvaliableError. Returns 0."""
    async def _AI_readBufferStatus_async(self, port: int) -> list[int]:
        """The device's buffer: samples waiting, capacity. Raises AIPortNotAvaliableError."""

class AIModule(AIBased):
    """16-bit analog input."""
    def AI_readOnDemand(self, port: int, timeout: float = 3) -> list[float]:
        """One sample now: volts of each channel. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open."""
    def AI_readStreaming(self, port: int, num_samples: int, delay: float) -> list[list[float]]:
        """At most `num_samples` streamed samples (-1: all that are there), oldest first, each a list of volts. Waits at most `delay` seconds for them and returns what is there; never raises for lack of data. Raises InputDataNotInRangeError for `num_samples` below -1 and `delay` below 0, and AIPortNotAvaliableError."""
    def AI_readStreamingArray(self, port: int, num_samples: int, delay: float) -> numpy.ndarray:
        """As AI_readStreaming, as a float64 array of shape (samples, channels) in volts; a change of the number of channels ends it early. Needs numpy."""
    def AI_enableChannel(self, port: int, channel: int, timeout: float = 3) -> int:
        """How many channels a sample has, 1..8; on CordlogF1AD and CordlogF1AOD, else APINotSupportError. Samples that have come keep their number. The device keeps it until it restarts, for the next program too, and cannot be asked for it: a new object takes it to be 8, and one that is connected again what it was. Call this after every connect, else values may pass for those of other channels. Raises AIChannelNotAvaliableError, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    def AI_enableCS(self, slot: int, chip_select: list[int], timeout: float = 3) -> int:
        """Enables chips 0..2 of a slot; on LUMA, else APINotSupportError. Raises AICSNotAvaliableError, also for none, and AIPortNotAvaliableError. Returns 0."""
    def AI_setTriggerMode(self, port: int, mode: int, timeout: float = 3) -> int:
        """What starts streaming: 0 command, 1 clock, 2 external interrupt, 3 command and clock, 4 command and interrupt, 5 clock and interrupt, 6 all; not on CordlogF1AD and CordlogF1AOD: APINotSupportError. Raises AITriggerModeNotAvaliableError, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0."""
    def _AI_getDataRTC(self, port: int, timeout: float = 3) -> list[float]:
        """The sample taken at the clock's last trigger: volts of each channel. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open."""
    def _AI_getCounter(self, port: int, timeout: float = 3) -> list[int]:
        """The device's counters: samples acquired, packets sent, samples lost. Raises AIPortNotAvaliableError."""
    def _AI_clearBufferStatus(self, port: int, timeout: float = 3) -> int:
        """Empties the device's buffer and sets its counters to 0. Raises AIPortNotAvaliableError. Returns 0."""
    def _AI_readBufferStatus(self, port: int, timeout: float = 3) -> list[int]:
        """The device's buffer: samples waiting, capacity. Raises AIPortNotAvaliableError."""

class AI24BitStreamingModule_async(AIBased):
    """24-bit analog input with streaming as coroutines."""
    async def AI_readOnDemand_async(self, port: int) -> list[float]:
        """One sample now: volts of each channel. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open."""
    async def AI_readStreaming_async(self, port: int, num_samples: int, delay: float) -> list[list[float]]:
        """At most `num_samples` streamed samples (-1: all that are there), oldest first, each a list of volts. Waits at most `delay` seconds for them and returns what is there; never raises for lack of data. Raises InputDataNotInRangeError for `num_samples` below -1 and `delay` below 0, and AIPortNotAvaliableError."""
    async def AI_readStreamingArray_async(self, port: int, num_samples: int, delay: float) -> numpy.ndarray:
        """As AI_readStreaming, as a float64 array of shape (samples, channels) in volts; a change of the number of channels ends it early. Needs numpy."""

class AI24BitStreamingModule(AIBased):
    """24-bit analog input with streaming. Volts are not rounded."""
    def AI_readOnDemand(self, port: int, timeout: float = 3) -> list[float]:
        """One sample now: volts of each channel. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not open."""
    def AI_readStreaming(self, port: int, num_samples: int, delay: float) -> list[list[float]]:
        """At most `num_samples` streamed samples (-1: all that are there), oldest first, each a list of volts. Waits at most `delay` seconds for them and returns what is there; never raises for lack of data. Raises InputDataNotInRangeError for `num_samples` below -1 and `delay` below 0, and AIPortNotAvaliableError."""
    def AI_readStreamingArray(self, port: int, num_samples: int, delay: float) -> numpy.ndarray:
        """As AI_readStreaming, as a float64 array of shape (samples, channels) in volts; a change of the number of channels ends it early. Needs numpy."""

class AI24BitModule_async(AIUnion):
    """24-bit analog input, read on demand, as coroutines."""
    async def AI_readOnDemand_async(self, port: int) -> list[float]:
        """One sample now: volts of each channel, rounded to three decimals. Raises AIPortNotAvaliableError."""

class AI24BitModule(AIUnion):
    """24-bit analog input, read on demand."""
    def AI_readOnDemand(self, port: int, timeout: float = 3) -> list[float]:
        """One sample now: volts of each channel, rounded to three decimals. Raises AIPortNotAvaliableError."""

class AOBased:
    """State and checks of analog output."""
    @property
    def ao_dict(self) -> dict[int, list[int]]:
        """The AO ports: port number to its channels."""
    @property
    def ao_volt_min(self) -> float:
        """The lowest output in volts."""
    @property
    def ao_volt_max(self) -> float:
        """The highest output in volts."""
    @property
    def ao_channel(self) -> int:
        """How many channels the product has."""
    @property
    def ao_rate(self) -> int:
        """The product's highest sampling rate in Hz."""
    def AO_getPort(self) -> list[int]:
        """The AO ports of the product."""
    async def AO_getPort_async(self) -> list[int]:
        """The AO ports of the product."""
    def _AO_getPinMapPort(self, port: int) -> list[int]:
        """The channels of a port. Raises AOPortNotAvaliableError."""
    async def _AO_getPinMapPort_async(self, port: int) -> list[int]:
        """The channels of a port. Raises AOPortNotAvaliableError."""
    def _checkAOPinState(self, port: int, timeout: float = 3) -> None:
        """Raises AOPortNotAvaliableError unless the pins of the port of that number in the device's pin query are idle; on CordlogF1AOD those of the digital port."""
    async def _checkAOPinState_async(self, port: int) -> None:
        """Raises AOPortNotAvaliableError unless the pins of the port of that number in the device's pin query are idle; on CordlogF1AOD those of the digital port."""
    def _checkAOPort(self, port: int) -> None:
        """Raises AOPortNotAvaliableError."""
    def _checkAOChannel(self, channel: int) -> None:
        """0..7; else AOChannelNotAvaliableError."""
    def _checkAOMode(self, mode: int) -> None:
        """0, 1 or 2; else AOModeNotVaildError."""
    def _checkAOForm(self, form: int) -> None:
        """1, 2 or 3; else AOFormNotAvaliableError."""
    def _checkAOSpan(self, span: int) -> None:
        """0..4; else AOSpanNotVaildError."""
    def _ckeckAOSamplingRate(self, rate: int) -> None:
        """1..ao_rate in Hz; else AORateNotVaildError."""
    def _checkAONumOfValues(self, n: int) -> bool:
        """Whether one push can carry as many: at most 13."""

class AOModule_async(AOBased):
    """Analog output as coroutines."""
    async def AO_open_async(self, port: int) -> int:
        """Opens analog output. Where it is always open (FeroxO) nothing is sent, and a device that is closed is not noticed. On CordlogF1AOD it takes all pins of the digital port of that number until it is closed. Raises AOPortNotAvaliableError, also where one of these pins is not idle: when the output is open already, too, and AO_close frees it. Returns 0."""
    async def AO_close_async(self, port: int) -> int:
        """Closes analog output: ends generation, sets 0 V and gives back its pins. Raises AOPortNotAvaliableError. Returns 0."""
    async def AO_writeOneChannel_async(self, port: int, channel: int, value: float) -> int:
        """Sets one channel, 0..7, to `value` volts. Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, and FirmwareAOError for a channel that the product does not have, and where the output is not open or generates. Returns 0."""
    async def AO_writeAllChannels_async(self, port: int, value_list: list[float]) -> int:
        """Sets all channels at the same instant, channel 0 first, in volts; those without a value to 0 V. Raises PinsValueNotDefineError for more values than channels, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError where the output is not open or generates. Returns 0."""

class AOModule(AOBased):
    """Analog output."""
    def AO_open(self, port: int, timeout: float = 3) -> int:
        """Opens analog output. Where it is always open (FeroxO) nothing is sent, and a device that is closed is not noticed. On CordlogF1AOD it takes all pins of the digital port of that number until it is closed. Raises AOPortNotAvaliableError, also where one of these pins is not idle: when the output is open already, too, and AO_close frees it. Returns 0."""
    def AO_close(self, port: int, timeout: float = 3) -> int:
        """Closes analog output: ends generation, sets 0 V and gives back its pins. Raises AOPortNotAvaliableError. Returns 0."""
    def AO_writeOneChannel(self, port: int, channel: int, value: float, timeout: float = 3) -> int:
        """Sets one channel, 0..7, to `value` volts. Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, and FirmwareAOError for a channel that the product does not have, and where the output is not open or generates. Returns 0."""
    def AO_writeAllChannels(self, port: int, value_list: list[float], timeout: float = 3) -> int:
        """Sets all channels at the same instant, channel 0 first, in volts; those without a value to 0 V. Raises PinsValueNotDefineError for more values than channels, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError where the output is not open or generates. Returns 0."""

class AOStreamingModule_async(AOBased):
    """Analog output with generation as coroutines."""
    async def AO_open_async(self, port: int) -> int:
        """Opens analog output. Where it is always open (FeroxO) nothing is sent, and a device that is closed is not noticed. On CordlogF1AOD it takes all pins of the digital port of that number until it is closed. Raises AOPortNotAvaliableError, also where one of these pins is not idle: when the output is open already, too, and AO_close frees it. Returns 0."""
    async def AO_close_async(self, port: int) -> int:
        """Closes analog output: ends generation, sets 0 V and gives back its pins. Raises AOPortNotAvaliableError. Returns 0."""
    async def AO_writeOneChannel_async(self, port: int, channel: int, value: float) -> int:
        """Sets one channel, 0..7, to `value` volts. Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, and FirmwareAOError for a channel that the product does not have, and where the output is not open or generates. Returns 0."""
    async def AO_writeAllChannels_async(self, port: int, value_list: list[float]) -> int:
        """Sets all channels at the same instant, channel 0 first, in volts; those without a value to 0 V. Raises PinsValueNotDefineError for more values than channels, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError where the output is not open or generates. Returns 0."""
    async def AO_openStreaming_async(self, port: int) -> list[int | float]:
        """Prepares a port for generation. Raises AOPortNotAvaliableError, and FirmwareAOError where the output is not open. Returns the mode and the sampling rate in Hz that are set."""
    async def AO_startStreaming_async(self, port: int) -> int:
        """Starts generation. Does not wait for a reply: _AO_getState tells whether it runs. Raises AOPortNotAvaliableError. Returns 0."""
    async def AO_closeStreaming_async(self, port: int) -> int:
        """Ends generation; the outputs stay where they are. Raises AOPortNotAvaliableError. Returns 0."""
    async def _AO_stopStreaming_async(self, port: int) -> int:
        """Stops generation; it may be started again. The outputs stay where they are. Raises AOPortNotAvaliableError. Returns 0."""
    async def AO_setMode_async(self, port: int, mode: int) -> int:
        """Chooses the generation: 0 on demand, 1 a number of samples, 2 continuous. Raises AOModeNotVaildError, AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0."""
    async def AO_setSamplingRate_async(self, port: int, sampling_rate: int) -> int:
        """Samples per second and channel, in Hz, 1..ao_rate. Raises AORateNotVaildError outside, AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0."""
    async def AO_setNumSamples_async(self, port: int, num_samples: int) -> int:
        """How many samples mode 1 generates, 0..4294967295. Raises InputDataNotInRangeError outside, AOPortNotAvaliableError, and FirmwareAOError for 0 and while it generates. Returns 0."""
    async def AO_setEnableChannels_async(self, port: int, channel_list: list[int]) -> int:
        """The channels that generate, each 0..7; the others do not. Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, and FirmwareAOError for a channel that the product does not have, and while it generates. Returns 0."""
    async def AO_setForm_async(self, port: int, channel: int, form: int) -> int:
        """The form of a channel's signal: 1 rectangular, 2 triangular, 3 sine. Raises AOFormNotAvaliableError, AOChannelNotAvaliableError, AOPortNotAvaliableError, and FirmwareAOError for a channel that the product does not have, and while it generates. Returns 0."""
    async def AO_setFormParam_async(self, port: int, channel: int, amplitude: float, offset: float, frequency: float, phase: float, duty_cycle: float) -> int:
        """The signal of a channel: amplitude (from the middle to the peak) and offset in volts, frequency in Hz, phase in degrees, duty cycle in per cent of a period (the high part of a rectangle, the rising one of a triangle). Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, InputDataNotInRangeError for what is not finite, and FirmwareAOError for an amplitude or a frequency below 0, a duty cycle outside 0..100, a channel that the product does not have, and while it generates. Returns 0."""
    async def AO_getValues_async(self, port: int) -> list[float]:
        """What each channel puts out, in volts. Raises AOPortNotAvaliableError."""
    async def _AO_setSpan_async(self, port: int, span: int) -> int:
        """The output's span: 0: 0..5 V, 1: 0..10 V, 2: -5..5 V, 3: -10..10 V (at first), 4: -2.5..2.5 V. Raises AOSpanNotVaildError, AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0."""
    async def _AO_getMode_async(self, port: int) -> int:
        """The mode that is set. Raises AOPortNotAvaliableError."""
    async def _AO_getState_async(self, port: int) -> int:
        """What generation does: 0 idle, 1 stand-by (open, not running), 2 running. Raises AOPortNotAvaliableError."""
    async def _AO_getCounters_async(self, port: int) -> list[int]:
        """The device's counters since the start: interrupts (samples), SPI transfers (values). Raises AOPortNotAvaliableError."""
    async def _AO_initialBuffer_async(self, port: int) -> int:
        """Empties the device's buffer, from which generation takes its values then instead of the forms. Raises AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns how many values it holds."""
    async def _AO_pushToBuffer_async(self, port: int, num_of_val: int, value_list: list[float]) -> int:
        """Appends `num_of_val` values in volts to the device's buffer; those of the enabled channels take turns, the lowest first. Sends them in pushes of at most 13; the first one that is refused ends it. A push that is sent again because its reply is late is appended again: set `resend` to False where that matters. Raises PinsValueNotDefineError when value_list has another number of them, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError without room, without _AO_initialBuffer before, and while it generates. Returns 0."""

class AOStreamingModule(AOBased):
    """Analog output with generation of waveforms."""
    def AO_open(self, port: int, timeout: float = 3) -> int:
        """Opens analog output. Where it is always open (FeroxO) nothing is sent, and a device that is closed is not noticed. On CordlogF1AOD it takes all pins of the digital port of that number until it is closed. Raises AOPortNotAvaliableError, also where one of these pins is not idle: when the output is open already, too, and AO_close frees it. Returns 0."""
    def AO_close(self, port: int, timeout: float = 3) -> int:
        """Closes analog output: ends generation, sets 0 V and gives back its pins. Raises AOPortNotAvaliableError. Returns 0."""
    def AO_writeOneChannel(self, port: int, channel: int, value: float, timeout: float = 3) -> int:
        """Sets one channel, 0..7, to `value` volts. Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, and FirmwareAOError for a channel that the product does not have, and where the output is not open or generates. Returns 0."""
    def AO_writeAllChannels(self, port: int, value_list: list[float], timeout: float = 3) -> int:
        """Sets all channels at the same instant, channel 0 first, in volts; those without a value to 0 V. Raises PinsValueNotDefineError for more values than channels, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError where the output is not open or generates. Returns 0."""
    def AO_openStreaming(self, port: int, timeout: float = 3) -> list[int | float]:
        """Prepares a port for generation. Raises AOPortNotAvaliableError, and FirmwareAOError where the output is not open. Returns the mode and the sampling rate in Hz that are set."""
    def AO_startStreaming(self, port: int) -> int:
        """Starts generation. Does not wait for a reply: _AO_getState tells whether it runs. Raises AOPortNotAvaliableError. Returns 0."""
    def AO_closeStreaming(self, port: int, timeout: float = 3) -> int:
        """Ends generation; the outputs stay where they are. Raises AOPortNotAvaliableError. Returns 0."""
    def _AO_stopStreaming(self, port: int, timeout: float = 3) -> int:
        """Stops generation; it may be started again. The outputs stay where they are. Raises AOPortNotAvaliableError. Returns 0."""
    def AO_setMode(self, port: int, mode: int, timeout: float = 3) -> int:
        """Chooses the generation: 0 on demand, 1 a number of samples, 2 continuous. Raises AOModeNotVaildError, AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0."""
    def AO_setSamplingRate(self, port: int, sampling_rate: int, timeout: float = 3) -> int:
        """Samples per second and channel, in Hz, 1..ao_rate. Raises AORateNotVaildError outside, AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0."""
    def AO_setNumSamples(self, port: int, num_samples: int, timeout: float = 3) -> int:
        """How many samples mode 1 generates, 0..4294967295. Raises InputDataNotInRangeError outside, AOPortNotAvaliableError, and FirmwareAOError for 0 and while it generates. Returns 0."""
    def AO_setEnableChannels(self, port: int, channel_list: list[int], timeout: float = 3) -> int:
        """The channels that generate, each 0..7; the others do not. Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, and FirmwareAOError for a channel that the product does not have, and while it generates. Returns 0."""
    def AO_setForm(self, port: int, channel: int, form: int, timeout: float = 3) -> int:
        """The form of a channel's signal: 1 rectangular, 2 triangular, 3 sine. Raises AOFormNotAvaliableError, AOChannelNotAvaliableError, AOPortNotAvaliableError, and FirmwareAOError for a channel that the product does not have, and while it generates. Returns 0."""
    def AO_setFormParam(self, port: int, channel: int, amplitude: float, offset: float, frequency: float, phase: float, duty_cycle: float, timeout: float = 3) -> int:
        """The signal of a channel: amplitude (from the middle to the peak) and offset in volts, frequency in Hz, phase in degrees, duty cycle in per cent of a period (the high part of a rectangle, the rising one of a triangle). Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, InputDataNotInRangeError for what is not finite, and FirmwareAOError for an amplitude or a frequency below 0, a duty cycle outside 0..100, a channel that the product does not have, and while it generates. Returns 0."""
    def AO_getValues(self, port: int, timeout: float = 3) -> list[float]:
        """What each channel puts out, in volts. Raises AOPortNotAvaliableError."""
    def _AO_setSpan(self, port: int, span: int, timeout: float = 3) -> int:
        """The output's span: 0: 0..5 V, 1: 0..10 V, 2: -5..5 V, 3: -10..10 V (at first), 4: -2.5..2.5 V. Raises AOSpanNotVaildError, AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0."""
    def _AO_getMode(self, port: int, timeout: float = 3) -> int:
        """The mode that is set. Raises AOPortNotAvaliableError."""
    def _AO_getState(self, port: int, timeout: float = 3) -> int:
        """What generation does: 0 idle, 1 stand-by (open, not running), 2 running. Raises AOPortNotAvaliableError."""
    def _AO_getCounters(self, port: int, timeout: float = 3) -> list[int]:
        """The device's counters since the start: interrupts (samples), SPI transfers (values). Raises AOPortNotAvaliableError."""
    def _AO_initialBuffer(self, port: int, timeout: float = 3) -> int:
        """Empties the device's buffer, from which generation takes its values then instead of the forms. Raises AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns how many values it holds."""
    def _AO_pushToBuffer(self, port: int, num_of_val: int, value_list: list[float], timeout: float = 3) -> int:
        """Appends `num_of_val` values in volts to the device's buffer; those of the enabled channels take turns, the lowest first. Sends them in pushes of at most 13; the first one that is refused ends it. A push that is sent again because its reply is late is appended again: set `resend` to False where that matters. Raises PinsValueNotDefineError when value_list has another number of them, InputDataNotInRangeError outside ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError without room, without _AO_initialBuffer before, and while it generates. Returns 0."""

class ByteQueue:
    """Received bytes, each an int, oldest first: a bounded queue.Queue."""
    def qsize(self) -> int:
        """How many bytes are queued."""
    def full(self) -> bool: ...
    @property
    def maxsize(self) -> int:
        """How many bytes fit."""
    @property
    def dropped(self) -> int:
        """How many bytes were dropped so far because the queue was full."""
    def put(self, item: int, block: bool = True, timeout: float | None = None) -> None:
        """Never waits: raises queue.Full."""
    def get(self, block: bool = True, timeout: float | None = None) -> int:
        """Takes the oldest entry; raises queue.Empty when none came in time."""
    def empty(self) -> bool:
        """Whether nothing is queued."""
    def get_nowait(self) -> object:
        """Takes the oldest entry; raises queue.Empty when there is none."""
    def put_nowait(self, item) -> None:
        """Appends an entry; raises queue.Full when a bounded queue is full."""
    def __len__(self) -> int: ...

class UARTBased:
    """State, checks and decoder threads of the serial ports."""
    @property
    def uart_dict(self) -> dict[int, list[tuple[int, int]]]:
        """The UART ports: port number to its sending and its receiving pin, each (digital port, pin)."""
    @property
    def uart_open_flag(self) -> bool:
        """Whether any port is open."""
    @property
    def uart_killed(self) -> bool: ...
    @property
    def uart_p1_data_queue(self) -> RawQueue:
        """Raw blocks of port 1."""
    @property
    def uart_p1_signal_queue(self) -> ByteQueue:
        """Received bytes of port 1."""
    @property
    def uart_p1_lock(self) -> Gate:
        """The gate of the decoder thread of port 1."""
    @property
    def uart_p1_stream_thread(self) -> Worker:
        """The decoder thread of port 1."""
    @property
    def uart_p2_data_queue(self) -> RawQueue:
        """Raw blocks of port 2."""
    @property
    def uart_p2_signal_queue(self) -> ByteQueue:
        """Received bytes of port 2."""
    @property
    def uart_p2_lock(self) -> Gate:
        """The gate of the decoder thread of port 2."""
    @property
    def uart_p2_stream_thread(self) -> Worker:
        """The decoder thread of port 2."""
    def _checkUARTPort(self, port: int) -> None:
        """Raises UARTPortNotAvaliableError."""
    def _checkUARTBaudRate(self, rate: int) -> None:
        """0..400000; else UARTBaudRateNotSupportError."""
    def _checkUARTDataBit(self, mode: int) -> None:
        """0 or 1; else UARTDataBitNotSupportError."""
    def _checkUARTParityMode(self, mode: int) -> None:
        """0..3; else UARTParityNotSupportError."""
    def _checkUARTNumStopBitMode(self, mode: int) -> None:
        """0..3; else UARTStopBitNotSupportError."""
    def _checkUARTDataLength(self, data: str | list | bytes) -> None:
        """At most 50 elements; else UARTExceedMaxLengthError."""
    def _UART_free(self) -> None:
        """Ends the decoder threads."""
    def _checkUARTPinState(self, port: int, timeout: float = 3) -> None:
        """Raises UARTPortNotAvaliableError unless the port's pins are idle or digital lines."""
    async def _checkUARTPinState_async(self, port: int) -> None:
        """Raises UARTPortNotAvaliableError unless the port's pins are idle or digital lines."""

class UARTModule_async(UARTBased):
    """Serial ports as coroutines."""
    async def UART_open_async(self, port: int) -> int:
        """Opens a port, whose pins must be idle or digital lines, and starts reading. Raises UARTPortNotAvaliableError, also for a port that an earlier program left open: UART_close frees it. Returns 0."""
    async def UART_close_async(self, port: int) -> int:
        """Ends reading and closes a port. What has been received can still be read. Returns 0."""
    async def UART_setBaudRate_async(self, port: int, baud_rate: int) -> int:
        """Bits per second, 115200 at first, at most 400000. Raises UARTBaudRateNotSupportError; FirmwareUARTError for 0. Returns 0."""
    async def UART_setDataBit_async(self, port: int, mode: int) -> int:
        """Data bits of a character: 0 for 8, 1 for 9. Raises UARTDataBitNotSupportError. Returns 0."""
    async def UART_setParity_async(self, port: int, mode: int) -> int:
        """0 none, 1 reserved, 2 even, 3 odd. Raises UARTParityNotSupportError. Returns 0."""
    async def UART_setNumStopBit_async(self, port: int, mode: int) -> int:
        """Stop bits: 0 for 1, 1 for 0.5, 2 for 2, 3 for 1.5. Raises UARTStopBitNotSupportError. Returns 0."""
    async def UART_write_async(self, port: int, write_data: str | bytes | list[str] | list[int]) -> int:
        """Sends at most 50 characters or bytes, 0..255 each, and returns before they have left. Raises UARTExceedMaxLengthError, InputDataNotInRangeError; FirmwareUARTError when the port is not open or too much waits to be sent. Returns 0."""
    async def UART_read_async(self, port: int, bytes_to_read: int, delay: float) -> list[int]:
        """At most `bytes_to_read` received bytes (-1: all that are there), oldest first. Waits at most `delay` seconds for them and returns what is there; never raises for lack of data."""
    async def UART_reset_async(self, port: int) -> int:
        """Gives a port its default settings: 115200 bit/s, 8 data bits, no parity, 1 stop bit. Returns 0."""
    async def _UART_startReading_async(self, port: int) -> int:
        """Makes the device send what the port receives, as UART_open does. Does not wait for a reply, and must not be called while the port is read: the device's answer would pass for a received byte. Returns 0."""
    async def _UART_stopReading_async(self, port: int) -> int:
        """Ends reading. Returns 0."""
    async def UART_stopReading_async(self, port: int) -> int:
        """Ends reading. Returns 0."""

class UARTModule(UARTBased):
    """Serial ports."""
    def UART_open(self, port: int, timeout: float = 3) -> int:
        """Opens a port, whose pins must be idle or digital lines, and starts reading. Raises UARTPortNotAvaliableError, also for a port that an earlier program left open: UART_close frees it. Returns 0."""
    def UART_close(self, port: int, timeout: float = 3) -> int:
        """Ends reading and closes a port. What has been received can still be read. Returns 0."""
    def UART_setBaudRate(self, port: int, baud_rate: int, timeout: float = 3) -> int:
        """Bits per second, 115200 at first, at most 400000. Raises UARTBaudRateNotSupportError; FirmwareUARTError for 0. Returns 0."""
    def UART_setDataBit(self, port: int, mode: int, timeout: float = 3) -> int:
        """Data bits of a character: 0 for 8, 1 for 9. Raises UARTDataBitNotSupportError. Returns 0."""
    def UART_setParity(self, port: int, mode: int, timeout: float = 3) -> int:
        """0 none, 1 reserved, 2 even, 3 odd. Raises UARTParityNotSupportError. Returns 0."""
    def UART_setNumStopBit(self, port: int, mode: int, timeout: float = 3) -> int:
        """Stop bits: 0 for 1, 1 for 0.5, 2 for 2, 3 for 1.5. Raises UARTStopBitNotSupportError. Returns 0."""
    def UART_write(self, port: int, write_data: str | bytes | list[str] | list[int], timeout: float = 3) -> int:
        """Sends at most 50 characters or bytes, 0..255 each, and returns before they have left. Raises UARTExceedMaxLengthError, InputDataNotInRangeError; FirmwareUARTError when the port is not open or too much waits to be sent. Returns 0."""
    def UART_read(self, port: int, bytes_to_read: int, delay: float) -> list[int]:
        """At most `bytes_to_read` received bytes (-1: all that are there), oldest first. Waits at most `delay` seconds for them and returns what is there; never raises for lack of data."""
    def UART_reset(self, port: int, timeout: float = 3) -> int:
        """Gives a port its default settings: 115200 bit/s, 8 data bits, no parity, 1 stop bit. Returns 0."""
    def _UART_startReading(self, port: int) -> int:
        """Makes the device send what the port receives, as UART_open does. Does not wait for a reply, and must not be called while the port is read: the device's answer would pass for a received byte. Returns 0."""
    def _UART_stopReading(self, port: int, timeout: float = 3) -> int:
        """Ends reading. Returns 0."""
    def UART_stopReading(self, port: int, timeout: float = 3) -> int:
        """Ends reading. Returns 0."""

class CANFrame:
    """A frame of a CAN bus. It doesn't change; frames that mean the same on the bus are equal. Raises InputDataNotInRangeError, CANDataLengthNotVaildError."""
    def __init__(self, id: int, data: list[int], remote: bool = False, extended_id: bool = False) -> None: ...
    @property
    def id(self) -> int:
        """The identifier, 11 bits or 29."""
    @property
    def extended_id(self) -> bool:
        """Whether the identifier has 29 bits."""
    @property
    def remote(self) -> bool:
        """Whether it asks for data and has none."""
    @property
    def data(self) -> list[int]:
        """8 bytes; what was not given is 0."""
    @property
    def length(self) -> int:
        """How many of the bytes the bus carried; 8 for a frame that was not received."""
    @property
    def timestamp(self) -> float:
        """When it was received, in seconds since 1970; 0 for a frame that was not."""
    @property
    def id_in_list(self) -> list[int]:
        """The identifier as it is sent, 4 bytes."""
    @property
    def frame_in_list(self) -> list[int]:
        """What CAN_write sends: id_in_list, then data."""
    def setID(self) -> list[int]:
        """The identifier as it is sent: id_in_list."""
    def regularizeData(self) -> list[int]:
        """The data, extended with zeros to 8 bytes."""
    @staticmethod
    def fromU8List(int_list: list[int]) -> CANFrame:
        """A frame from 4 bytes of identifier and up to 8 of data, or from the 13 bytes of a received one, which have the length between the two."""

class FrameQueue:
    """Received frames, each a CANFrame, oldest first: a bounded queue.Queue."""
    def qsize(self) -> int:
        """How many frames are queued."""
    def full(self) -> bool: ...
    @property
    def maxsize(self) -> int:
        """How many frames fit."""
    @property
    def dropped(self) -> int:
        """How many frames were dropped so far because the queue was full."""
    def put(self, item: CANFrame, block: bool = True, timeout: float | None = None) -> None:
        """Never waits: raises queue.Full."""
    def get(self, block: bool = True, timeout: float | None = None) -> CANFrame:
        """Takes the oldest entry; raises queue.Empty when none came in time."""
    def empty(self) -> bool:
        """Whether nothing is queued."""
    def get_nowait(self) -> object:
        """Takes the oldest entry; raises queue.Empty when there is none."""
    def put_nowait(self, item) -> None:
        """Appends an entry; raises queue.Full when a bounded queue is full."""
    def __len__(self) -> int: ...

class CANBased:
    """State, checks and decoder thread of the CAN bus."""
    @property
    def can_dict(self) -> dict[int, list[tuple[int, int]]]:
        """The CAN ports: port number to its sending and its receiving pin, each (digital port, pin)."""
    @property
    def can_open_flag(self) -> bool:
        """Whether CAN is open."""
    @property
    def can_killed(self) -> bool: ...
    @property
    def can_data_queue(self) -> RawQueue:
        """Raw blocks of frames."""
    @property
    def can_frame_queue(self) -> FrameQueue:
        """Received frames."""
    @property
    def can_lock(self) -> Gate:
        """The gate of the decoder thread."""
    @property
    def can_stream_thread(self) -> Worker:
        """The decoder thread."""
    def _checkCANPort(self, port: int) -> None:
        """Raises CANPortNotAvaliableError."""
    def _checkCANSpeed(self, speed: int) -> None:
        """0..3; else CANSpeedNotVaildError."""
    def _checkCANTXIndex(self, index: int) -> None:
        """0, 1 or 2; else CANTXNotVaildError."""
    def _checkCANTXPriority(self, priority: int) -> None:
        """0..3; else CANTXPriorityNotVaildError."""
    def _checkCANDataRangeAndLength(self, data: list[int]) -> None:
        """At most 8 elements, else CANDataLengthNotVaildError; each 0..255, else InputDataNotInRangeError."""
    def _CAN_free(self) -> None:
        """Ends the decoder thread."""
    def _checkCANPinState_(self, port: int, timeout: float = 3) -> None:
        """Raises CANPortNotAvaliableError unless the port's pins are idle or digital lines."""
    async def _checkCANPinState__async(self, port: int) -> None:
        """Raises CANPortNotAvaliableError unless the port's pins are idle or digital lines."""

class CANModule_async(CANBased):
    """CAN bus as coroutines."""
    async def CAN_getPort_async(self) -> dict[int, list[tuple[int, int]]]:
        """The product's CAN ports: can_dict. Nothing is sent."""
    async def CAN_open_async(self, port: int) -> int:
        """Opens a port, whose pins must be idle or digital lines. Raises CANPortNotAvaliableError, also for a port that an earlier program left open: CAN_close frees it. Nothing is sent or received before CAN_start. Returns 0."""
    async def CAN_close_async(self, port: int) -> int:
        """Stops the bus and closes a port. What has been received can still be read. Returns 0."""
    async def CAN_start_async(self, port: int) -> int:
        """Takes part in the bus: frames are sent and received from now on. Also brings back a port that went off the bus, after CAN_stop. Raises FirmwareCANError when the port is not open. Returns 0."""
    async def CAN_stop_async(self, port: int) -> int:
        """Takes no part in the bus any more. Returns 0."""
    async def CAN_setSpeed_async(self, port: int, speed_mode: int) -> int:
        """The bit rate: 0 for 125 kbit/s, 1 for 250, 2 for 500 (at first), 3 for 1000. Raises CANSpeedNotVaildError; FirmwareCANError between CAN_start and CAN_stop. Returns 0."""
    async def CAN_write_async(self, port: int, id_: int, data: list[int], remote: bool = False, extended_id: bool = False) -> int:
        """Sends a frame: identifier 0..0x7FF, or 0..0x1FFFFFFF with `extended_id`; at most 8 bytes 0..255, extended with zeros to 8. Returns when it waits to be sent. Raises CANDataLengthNotVaildError, InputDataNotInRangeError; FirmwareCANError when the port is not started, is off the bus after too many errors, or too many frames wait. Returns 0."""
    async def CAN_read_async(self, port: int, num_frames: int, delay: float) -> list[CANFrame]:
        """At most `num_frames` received frames (-1: all that are there), oldest first. Waits at most `delay` seconds for them and returns what is there; never raises for lack of frames."""
    async def CAN_setRXFilteringOn_async(self, port: int, on_off: int) -> int:
        """1: only frames that pass a filter are received; 0: all. Returns 0."""
    async def CAN_setRXFilterOrMask_async(self, port: int, index: int, id_: int, remote: bool = False, extended_id: bool = False) -> int:
        """Sets filter 0..5 (index 0..5), mask 0 (6, of filters 0 and 1) or mask 1 (7, of filters 2 to 5). A frame passes when it equals a filter, of its own format, in the bits that are 1 in the mask. Returns 0."""
    async def _CAN_setTXPriority_async(self, port: int, tx_mode: int, priority: int) -> int:
        """Priority 0 (lowest) to 3 of transmit buffer 0..2. Raises CANTXNotVaildError, CANTXPriorityNotVaildError. Returns 0."""
    async def _CAN_setRXRollover_async(self, port: int, status: int) -> int:
        """1: a frame for a full receive buffer may go to the other one. Returns 0."""
    async def _CAN_setEnableInterrupt_async(self, port: int, status: int) -> int:
        """Which interrupts are enabled, a mask 0..255. Returns 0."""
    async def _CAN_getInterrupts_async(self, port: int) -> list[int]:
        """Interrupt enable, interrupt state, error state, each with bits as in docs/protocol.md."""
    async def _CAN_getErrors_async(self, port: int) -> list[int]:
        """TX and RX error counters; from 128 on the port is error-passive."""
    async def _CAN_getCounters_async(self, port: int) -> list[int]:
        """TX interrupts (frames that were sent), RX interrupts (frames received), SPI transfers, sends (frames that were written), bus errors, overflows (frames lost), since the device started."""

class CANModule(CANBased):
    """CAN bus."""
    def CAN_getPort(self) -> dict[int, list[tuple[int, int]]]:
        """The product's CAN ports: can_dict. Nothing is sent."""
    def CAN_open(self, port: int, timeout: float = 3) -> int:
        """Opens a port, whose pins must be idle or digital lines. Raises CANPortNotAvaliableError, also for a port that an earlier program left open: CAN_close frees it. Nothing is sent or received before CAN_start. Returns 0."""
    def CAN_close(self, port: int, timeout: float = 3) -> int:
        """Stops the bus and closes a port. What has been received can still be read. Returns 0."""
    def CAN_start(self, port: int, timeout: float = 3) -> int:
        """Takes part in the bus: frames are sent and received from now on. Also brings back a port that went off the bus, after CAN_stop. Raises FirmwareCANError when the port is not open. Returns 0."""
    def CAN_stop(self, port: int, timeout: float = 3) -> int:
        """Takes no part in the bus any more. Returns 0."""
    def CAN_setSpeed(self, port: int, speed_mode: int, timeout: float = 3) -> int:
        """The bit rate: 0 for 125 kbit/s, 1 for 250, 2 for 500 (at first), 3 for 1000. Raises CANSpeedNotVaildError; FirmwareCANError between CAN_start and CAN_stop. Returns 0."""
    def CAN_write(self, port: int, id_: int, data: list[int], remote: bool = False, extended_id: bool = False, timeout: float = 3) -> int:
        """Sends a frame: identifier 0..0x7FF, or 0..0x1FFFFFFF with `extended_id`; at most 8 bytes 0..255, extended with zeros to 8. Returns when it waits to be sent. Raises CANDataLengthNotVaildError, InputDataNotInRangeError; FirmwareCANError when the port is not started, is off the bus after too many errors, or too many frames wait. Returns 0."""
    def CAN_read(self, port: int, num_frames: int, delay: float) -> list[CANFrame]:
        """At most `num_frames` received frames (-1: all that are there), oldest first. Waits at most `delay` seconds for them and returns what is there; never raises for lack of frames."""
    def CAN_setRXFilteringOn(self, port: int, on_off: int, timeout: float = 3) -> int:
        """1: only frames that pass a filter are received; 0: all. Returns 0."""
    def CAN_setRXFilterOrMask(self, port: int, index: int, id_: int, remote: bool = False, extended_id: bool = False, timeout: float = 3) -> int:
        """Sets filter 0..5 (index 0..5), mask 0 (6, of filters 0 and 1) or mask 1 (7, of filters 2 to 5). A frame passes when it equals a filter, of its own format, in the bits that are 1 in the mask. Returns 0."""
    def _CAN_setTXPriority(self, port: int, tx_mode: int, priority: int, timeout: float = 3) -> int:
        """Priority 0 (lowest) to 3 of transmit buffer 0..2. Raises CANTXNotVaildError, CANTXPriorityNotVaildError. Returns 0."""
    def _CAN_setRXRollover(self, port: int, status: int, timeout: float = 3) -> int:
        """1: a frame for a full receive buffer may go to the other one. Returns 0."""
    def _CAN_setEnableInterrupt(self, port: int, status: int, timeout: float = 3) -> int:
        """Which interrupts are enabled, a mask 0..255. Returns 0."""
    def _CAN_getInterrupts(self, port: int, timeout: float = 3) -> list[int]:
        """Interrupt enable, interrupt state, error state, each with bits as in docs/protocol.md."""
    def _CAN_getErrors(self, port: int, timeout: float = 3) -> list[int]:
        """TX and RX error counters; from 128 on the port is error-passive."""
    def _CAN_getCounters(self, port: int, timeout: float = 3) -> list[int]:
        """TX interrupts (frames that were sent), RX interrupts (frames received), SPI transfers, sends (frames that were written), bus errors, overflows (frames lost), since the device started."""

class DIOBased:
    """Pin tables and checks of digital input and output."""
    @property
    def di_dict(self) -> dict[int, list[int]]:
        """The DI ports: port number to its pins."""
    @property
    def do_dict(self) -> dict[int, list[int]]:
        """The DO ports: port number to its pins."""
    @property
    def dio_num_pins_per_port(self) -> int:
        """How many states a list of a port's states has."""
    def DI_getPinMap(self) -> dict[int, list[int]]:
        """The DI ports: port number to its pins. Nothing is sent."""
    async def DI_getPinMap_async(self) -> dict[int, list[int]]:
        """The DI ports: port number to its pins. Nothing is sent."""
    def DO_getPinMap(self) -> dict[int, list[int]]:
        """The DO ports: port number to its pins. Nothing is sent."""
    async def DO_getPinMap_async(self) -> dict[int, list[int]]:
        """The DO ports: port number to its pins. Nothing is sent."""
    def _getPinIndexInList(self, pin: list[int] | int) -> list[int]:
        """A selection of pins, 0..15, as a list. Raises PinsNotExistError."""
    def _getPinIndexInInt(self, pin: list[int] | int) -> int:
        """A selection of pins, 0..15, as a mask, bit n for pin n. Raises PinsNotExistError."""
    def _checkDIPort(self, port: int) -> None:
        """Raises DIPortNotAvaliableError."""
    def _checkDOPort(self, port: int) -> None:
        """Raises DOPortNotAvaliableError."""
    def _checkDIPortAndPin(self, port: int, pin: list[int] | int) -> None:
        """Raises DIPortNotAvaliableError, PinsNotExistError."""
    def _checkDOPortAndPin(self, port: int, pin: list[int] | int) -> None:
        """Raises DOPortNotAvaliableError, PinsNotExistError."""

class DIOModule_async(DIOBased):
    """Digital input and output as coroutines."""
    async def DI_openPins_async(self, port: int, pin: list[int] | int) -> int:
        """Opens pins (a number or a list) as inputs. Raises DIPortNotAvaliableError, also when another function uses one of them, and PinsNotExistError. On products whose pins have a fixed direction (FeroxD, SkylogE3AOD, CordlogF1DSNK) it does nothing, for whatever port and pins, and a closed device is not noticed. Returns 0."""
    async def DI_openPort_async(self, port: int) -> int:
        """Opens all pins of a port as inputs, as DI_openPins does. Raises DIPortNotAvaliableError. Returns 0."""
    async def DO_openPins_async(self, port: int, pin: list[int] | int) -> int:
        """Opens pins (a number or a list) as outputs, which then drive 0. Raises DOPortNotAvaliableError, also when another function uses one of them, and PinsNotExistError. On products whose pins have a fixed direction (FeroxD, SkylogE3AOD, CordlogF1DSNK) it does nothing, for whatever port and pins, and a closed device is not noticed. Returns 0."""
    async def DO_openPort_async(self, port: int) -> int:
        """Opens all pins of a port as outputs, as DO_openPins does. Raises DOPortNotAvaliableError. Returns 0."""
    async def DI_closePins_async(self, port: int, pin: list[int] | int) -> int:
        """Closes pins (a number or a list). Raises DIPortNotAvaliableError, PinsNotExistError. Returns 0."""
    async def DI_closePort_async(self, port: int) -> int:
        """Closes all pins of a port. Raises DIPortNotAvaliableError. Returns 0."""
    async def DO_closePins_async(self, port: int, pin: list[int] | int) -> int:
        """Closes pins (a number or a list). Raises DOPortNotAvaliableError, PinsNotExistError. Returns 0."""
    async def DO_closePort_async(self, port: int) -> int:
        """Closes all pins of a port. Raises DOPortNotAvaliableError. Returns 0."""
    async def DI_readPins_async(self, port: int, pin: list[int] | int) -> list[int]:
        """The states of the chosen pins (a number or a list), 0 or 1, in their order. Raises DIPortNotAvaliableError, PinsNotExistError."""
    async def DI_readPort_async(self, port: int) -> list[int]:
        """The states of all pins of a port, 0 or 1, pin 0 first. Raises DIPortNotAvaliableError."""
    async def DO_writePins_async(self, port: int, pin: list[int] | int, value: list[int] | int) -> list[int]:
        """Sets outputs: `value` has a 0 or 1 for each of `pin`, or is one for a single pin. Raises DOPortNotAvaliableError, PinsNotExistError, PinsValueNotDefineError when the numbers differ, InputTypeNotConsistentError when the values are of several types, as True and 1 are, and FirmwareEnableError for pins that are not open as outputs. Returns what all outputs of the port drive now, pin 0 first."""
    async def DO_writePort_async(self, port: int, value: list[int] | int) -> list[int]:
        """Sets all outputs of a port: `value` has a 0 or 1 for each pin that the port has, or for each state that DI_readPort gives, or is an int 0..65535 with bit n for pin n. Raises DOPortNotAvaliableError, PinsValueNotDefineError for another number of values, InputTypeNotConsistentError, InputDataNotInRangeError for another int, and FirmwareEnableError unless all pins are open as outputs. Returns what they drive now, pin 0 first."""
    async def DO_togglePins_async(self, port: int, pin: list[int] | int) -> list[int]:
        """Inverts outputs (a number or a list). Raises DOPortNotAvaliableError, PinsNotExistError, and FirmwareEnableError for pins that are not open as outputs. Returns what all outputs of the port drive now, pin 0 first."""
    async def DO_togglePort_async(self, port: int) -> list[int]:
        """Inverts all outputs of a port. Raises DOPortNotAvaliableError, and FirmwareEnableError unless all pins are open as outputs. Returns what they drive now, pin 0 first."""
    async def DIO_loadStartup_async(self, port: int) -> list[list[int]]:
        """What the pins of a port are when the device starts: the lists enabled, direction (1 output) and state, pin 0 first. Raises DIPortNotAvaliableError."""
    async def _DIO_saveStartup_async(self, port: int, enabled: list[int] | int, direction: list[int] | int, state: list[int] | int) -> int:
        """Stores what the pins of a port are when the device starts: lists as DIO_loadStartup gives them, or ints 0..65535 with bit n for pin n. Raises DIPortNotAvaliableError, PinsValueNotDefineError for another number of states, InputTypeNotConsistentError, InputDataNotInRangeError for another int, and FirmwarePinIndexError for a pin that the port does not have. Returns 0."""
    async def _DIO_setPortIdle_async(self, port: int) -> int:
        """Makes all pins of a port idle. Raises DIPortNotAvaliableError, and FirmwareDIOError where directions are fixed. Returns 0."""
    async def _DIO_setPortDI_async(self, port: int) -> int:
        """Makes all pins of a port inputs. Raises DIPortNotAvaliableError, and FirmwareDIOError where another function uses one. Returns 0."""
    async def _DIO_setPortDO_async(self, port: int) -> int:
        """Makes all pins of a port outputs. Raises DOPortNotAvaliableError, and FirmwareDIOError where another function uses one. Returns 0."""
    async def _setDIOCurrent_async(self, port: int, mask: int, enabled: list[int] | int, direction: list[int] | int, state: list[int] | int) -> int:
        """Configures the pins of `mask`; direction 1 is output. Returns 0."""
    async def _getDIOCurrent_async(self, port: int, mask: int) -> list[list[int]]:
        """The lists enabled, direction and state of the pins of `mask`."""
    async def _setDIOState_async(self, port: int, mask: int, state: list[int] | int) -> int:
        """Sets the state register of a port; its outputs follow with _writeDO. Returns 0."""
    async def _getDIOState_async(self, port: int, mask: int) -> list[int]:
        """The state register of a port."""
    async def _toggleDIODirection_async(self, port: int, mask: int, state: list[int] | int) -> int:
        """Inverts the direction of open pins; those that become outputs drive `state`. Returns 0."""
    async def _readAndGetDI_async(self, port: int, mask: int) -> list[int]:
        """The levels at the pins of `mask`."""
    async def _setAndWriteDO_async(self, port: int, mask: int, state: list[int] | int) -> list[int]:
        """Sets outputs; gives what all outputs of the port drive."""
    async def _toggleAndWriteDO_async(self, port: int, mask: int) -> list[int]:
        """Inverts outputs; gives what all outputs of the port drive."""
    async def _readDI_async(self, port: int) -> int:
        """Reads the inputs of a port into its state register. Returns 0."""
    async def _writeDO_async(self, port: int) -> int:
        """Makes the outputs of a port drive its state register. Returns 0."""
    async def _closeDIOInPins_async(self, port: int, pin: list[int] | int) -> int:
        """Closes pins, whatever their direction. Returns 0."""
    async def _closeDIOInPort_async(self, port: int) -> int:
        """Closes all pins of a port. Returns 0."""

class DIOModule(DIOBased):
    """Digital input and output.

    Operations that name neither input nor output raise DIPortNotAvaliableError for a port that is neither. Masks and states are ints 0..65535, else InputDataNotInRangeError; lists of states have one for each pin, pin 0 first, else PinsValueNotDefineError."""
    def DI_openPins(self, port: int, pin: list[int] | int, timeout: float = 3) -> int:
        """Opens pins (a number or a list) as inputs. Raises DIPortNotAvaliableError, also when another function uses one of them, and PinsNotExistError. On products whose pins have a fixed direction (FeroxD, SkylogE3AOD, CordlogF1DSNK) it does nothing, for whatever port and pins, and a closed device is not noticed. Returns 0."""
    def DI_openPort(self, port: int, timeout: float = 3) -> int:
        """Opens all pins of a port as inputs, as DI_openPins does. Raises DIPortNotAvaliableError. Returns 0."""
    def DO_openPins(self, port: int, pin: list[int] | int, timeout: float = 3) -> int:
        """Opens pins (a number or a list) as outputs, which then drive 0. Raises DOPortNotAvaliableError, also when another function uses one of them, and PinsNotExistError. On products whose pins have a fixed direction (FeroxD, SkylogE3AOD, CordlogF1DSNK) it does nothing, for whatever port and pins, and a closed device is not noticed. Returns 0."""
    def DO_openPort(self, port: int, timeout: float = 3) -> int:
        """Opens all pins of a port as outputs, as DO_openPins does. Raises DOPortNotAvaliableError. Returns 0."""
    def DI_closePins(self, port: int, pin: list[int] | int, timeout: float = 3) -> int:
        """Closes pins (a number or a list). Raises DIPortNotAvaliableError, PinsNotExistError. Returns 0."""
    def DI_closePort(self, port: int, timeout: float = 3) -> int:
        """Closes all pins of a port. Raises DIPortNotAvaliableError. Returns 0."""
    def DO_closePins(self, port: int, pin: list[int] | int, timeout: float = 3) -> int:
        """Closes pins (a number or a list). Raises DOPortNotAvaliableError, PinsNotExistError. Returns 0."""
    def DO_closePort(self, port: int, timeout: float = 3) -> int:
        """Closes all pins of a port. Raises DOPortNotAvaliableError. Returns 0."""
    def DI_readPins(self, port: int, pin: list[int] | int, timeout: float = 3) -> list[int]:
        """The states of the chosen pins (a number or a list), 0 or 1, in their order. Raises DIPortNotAvaliableError, PinsNotExistError."""
    def DI_readPort(self, port: int, timeout: float = 3) -> list[int]:
        """The states of all pins of a port, 0 or 1, pin 0 first. Raises DIPortNotAvaliableError."""
    def DO_writePins(self, port: int, pin: list[int] | int, value: list[int] | int, timeout: float = 3) -> list[int]:
        """Sets outputs: `value` has a 0 or 1 for each of `pin`, or is one for a single pin. Raises DOPortNotAvaliableError, PinsNotExistError, PinsValueNotDefineError when the numbers differ, InputTypeNotConsistentError when the values are of several types, as True and 1 are, and FirmwareEnableError for pins that are not open as outputs. Returns what all outputs of the port drive now, pin 0 first."""
    def DO_writePort(self, port: int, value: list[int] | int, timeout: float = 3) -> list[int]:
        """Sets all outputs of a port: `value` has a 0 or 1 for each pin that the port has, or for each state that DI_readPort gives, or is an int 0..65535 with bit n for pin n. Raises DOPortNotAvaliableError, PinsValueNotDefineError for another number of values, InputTypeNotConsistentError, InputDataNotInRangeError for another int, and FirmwareEnableError unless all pins are open as outputs. Returns what they drive now, pin 0 first."""
    def DO_togglePins(self, port: int, pin: list[int] | int, timeout: float = 3) -> list[int]:
        """Inverts outputs (a number or a list). Raises DOPortNotAvaliableError, PinsNotExistError, and FirmwareEnableError for pins that are not open as outputs. Returns what all outputs of the port drive now, pin 0 first."""
    def DO_togglePort(self, port: int, timeout: float = 3) -> list[int]:
        """Inverts all outputs of a port. Raises DOPortNotAvaliableError, and FirmwareEnableError unless all pins are open as outputs. Returns what they drive now, pin 0 first."""
    def DIO_loadStartup(self, port: int, timeout: float = 3) -> list[list[int]]:
        """What the pins of a port are when the device starts: the lists enabled, direction (1 output) and state, pin 0 first. Raises DIPortNotAvaliableError."""
    def _DIO_saveStartup(self, port: int, enabled: list[int] | int, direction: list[int] | int, state: list[int] | int, timeout: float = 3) -> int:
        """Stores what the pins of a port are when the device starts: lists as DIO_loadStartup gives them, or ints 0..65535 with bit n for pin n. Raises DIPortNotAvaliableError, PinsValueNotDefineError for another number of states, InputTypeNotConsistentError, InputDataNotInRangeError for another int, and FirmwarePinIndexError for a pin that the port does not have. Returns 0."""
    def _DIO_setPortIdle(self, port: int, timeout: float = 3) -> int:
        """Makes all pins of a port idle. Raises DIPortNotAvaliableError, and FirmwareDIOError where directions are fixed. Returns 0."""
    def _DIO_setPortDI(self, port: int, timeout: float = 3) -> int:
        """Makes all pins of a port inputs. Raises DIPortNotAvaliableError, and FirmwareDIOError where another function uses one. Returns 0."""
    def _DIO_setPortDO(self, port: int, timeout: float = 3) -> int:
        """Makes all pins of a port outputs. Raises DOPortNotAvaliableError, and FirmwareDIOError where another function uses one. Returns 0."""
    def _setDIOCurrent(self, port: int, mask: int, enabled: list[int] | int, direction: list[int] | int, state: list[int] | int, timeout: float = 3) -> int:
        """Configures the pins of `mask`; direction 1 is output. Returns 0."""
    def _getDIOCurrent(self, port: int, mask: int, timeout: float = 3) -> list[list[int]]:
        """The lists enabled, direction and state of the pins of `mask`."""
    def _setDIOState(self, port: int, mask: int, state: list[int] | int, timeout: float = 3) -> int:
        """Sets the state register of a port; its outputs follow with _writeDO. Returns 0."""
    def _getDIOState(self, port: int, mask: int, timeout: float = 3) -> list[int]:
        """The state register of a port."""
    def _toggleDIODirection(self, port: int, mask: int, state: list[int] | int, timeout: float = 3) -> int:
        """Inverts the direction of open pins; those that become outputs drive `state`. Returns 0."""
    def _readAndGetDI(self, port: int, mask: int, timeout: float = 3) -> list[int]:
        """The levels at the pins of `mask`."""
    def _setAndWriteDO(self, port: int, mask: int, state: list[int] | int, timeout: float = 3) -> list[int]:
        """Sets outputs; gives what all outputs of the port drive."""
    def _toggleAndWriteDO(self, port: int, mask: int, timeout: float = 3) -> list[int]:
        """Inverts outputs; gives what all outputs of the port drive."""
    def _readDI(self, port: int, timeout: float = 3) -> int:
        """Reads the inputs of a port into its state register. Returns 0."""
    def _writeDO(self, port: int, timeout: float = 3) -> int:
        """Makes the outputs of a port drive its state register. Returns 0."""
    def _closeDIOInPins(self, port: int, pin: list[int] | int, timeout: float = 3) -> int:
        """Closes pins, whatever their direction. Returns 0."""
    def _closeDIOInPort(self, port: int, timeout: float = 3) -> int:
        """Closes all pins of a port. Returns 0."""

class I2CBased:
    """Ports, pins and checks of I2C."""
    @property
    def I2C_dict(self) -> dict[int, list[tuple[int, int]]]:
        """The I2C ports: port number to its pins (clock, data), each a digital port and a pin of it."""
    def I2C_getPinMap(self) -> dict[int, list[tuple[int, int]]]:
        """The I2C ports: port number to its pins (clock, data), each a digital port and a pin of it. Nothing is sent."""
    async def I2C_getPinMap_async(self) -> dict[int, list[tuple[int, int]]]:
        """The I2C ports: port number to its pins (clock, data), each a digital port and a pin of it. Nothing is sent."""
    def _checkI2CPort(self, port: int) -> None:
        """Raises I2CPortNotAvaliableError."""
    def _checkI2CClockRate(self, mode: int) -> None:
        """0..3; else I2CClockNotSupportError."""
    def _checkI2CAddressSize(self, mode: int) -> None:
        """0 or 1; else I2CAddressSizeNotVaildError."""
    def _checkI2CPinState(self, port: int, allow_state: list[str], timeout: float = 3) -> None:
        """Raises I2CPortNotAvaliableError unless each pin of the port is in one of these modes, such as ["Idle", "DI", "DO"]."""
    async def _checkI2CPinState_async(self, port: int, allow_state: list[str]) -> None:
        """Raises I2CPortNotAvaliableError unless each pin of the port is in one of these modes, such as ["Idle", "DI", "DO"]."""

class I2CModule_async(I2CBased):
    """I2C masters as coroutines."""
    async def I2C_open_async(self, port: int) -> int:
        """Opens a port; its pins must be idle or digital lines. Raises I2CPortNotAvaliableError, also when another function uses one of them or an earlier program left the port open: I2C_close frees it. Returns 0."""
    async def I2C_close_async(self, port: int) -> int:
        """Closes a port; its pins are idle then. Raises I2CPortNotAvaliableError. Returns 0."""
    async def I2C_setClockRate_async(self, port: int, mode: int) -> int:
        """The clock: 0 standard (100 kHz), 1 fast (400 kHz), 2 fast plus (1 MHz), 3 high speed (3.4 MHz). Raises I2CClockNotSupportError. Returns 0."""
    async def I2C_setAddressSize_async(self, port: int, mode: int) -> int:
        """0: addresses of 7 bits; 1: of 10. To be set again when the device has restarted. Raises I2CAddressSizeNotVaildError. Returns 0."""
    async def I2C_write_async(self, port: int, write_address: int, write_data: list[int]) -> int:
        """Sends bytes, 0..255 each, to the slave at an address, 0..127, or 0..1023 with 10 bits (else InputDataNotInRangeError); without bytes it only asks whether the slave is there. The device takes at most 255. Raises FirmwareI2CError for more and when nobody acknowledges; more than 65532 (65531 with 10 bits) fit in no packet: InputDataNotInRangeError. Waits until they are sent; what takes longer than 0.01 s is sent again unless `resend` is False. Returns 0."""
    async def I2C_read_async(self, port: int, read_address: int, bytes_to_read: int) -> list[int]:
        """What the slave at an address, 0..127, or 0..1023 with 10 bits, sends in 0..255 bytes (else InputDataNotInRangeError). Raises FirmwareI2CError when nobody acknowledges. What takes longer than 0.01 s, as 110 bytes do at 100 kHz, is asked for again unless `resend` is False; the answers to that pass for those of the next reads."""
    async def I2C_reset_async(self, port: int) -> int:
        """Restores the default settings of a port: 100 kHz, addresses of 7 bits. Returns 0."""

class I2CModule(I2CBased):
    """I2C masters."""
    def I2C_open(self, port: int, timeout: float = 3) -> int:
        """Opens a port; its pins must be idle or digital lines. Raises I2CPortNotAvaliableError, also when another function uses one of them or an earlier program left the port open: I2C_close frees it. Returns 0."""
    def I2C_close(self, port: int, timeout: float = 3) -> int:
        """Closes a port; its pins are idle then. Raises I2CPortNotAvaliableError. Returns 0."""
    def I2C_setClockRate(self, port: int, mode: int, timeout: float = 3) -> int:
        """The clock: 0 standard (100 kHz), 1 fast (400 kHz), 2 fast plus (1 MHz), 3 high speed (3.4 MHz). Raises I2CClockNotSupportError. Returns 0."""
    def I2C_setAddressSize(self, port: int, mode: int, timeout: float = 3) -> int:
        """0: addresses of 7 bits; 1: of 10. To be set again when the device has restarted. Raises I2CAddressSizeNotVaildError. Returns 0."""
    def I2C_write(self, port: int, write_address: int, write_data: list[int], timeout: float = 3) -> int:
        """Sends bytes, 0..255 each, to the slave at an address, 0..127, or 0..1023 with 10 bits (else InputDataNotInRangeError); without bytes it only asks whether the slave is there. The device takes at most 255. Raises FirmwareI2CError for more and when nobody acknowledges; more than 65532 (65531 with 10 bits) fit in no packet: InputDataNotInRangeError. Waits until they are sent; what takes longer than 0.01 s is sent again unless `resend` is False. Returns 0."""
    def I2C_read(self, port: int, read_address: int, bytes_to_read: int, timeout: float = 3) -> list[int]:
        """What the slave at an address, 0..127, or 0..1023 with 10 bits, sends in 0..255 bytes (else InputDataNotInRangeError). Raises FirmwareI2CError when nobody acknowledges. What takes longer than 0.01 s, as 110 bytes do at 100 kHz, is asked for again unless `resend` is False; the answers to that pass for those of the next reads."""
    def I2C_reset(self, port: int, timeout: float = 3) -> int:
        """Restores the default settings of a port: 100 kHz, addresses of 7 bits. Returns 0."""

class SPIBased:
    """Ports, pins and checks of SPI."""
    @property
    def SPI_dict(self) -> dict[int, list[tuple[int, int]]]:
        """The SPI ports: port number to its pins (clock, data in, data out, select), each a digital port and a pin of it."""
    def SPI_getPinMap(self) -> dict[int, list[tuple[int, int]]]:
        """The SPI ports: port number to its pins (clock, data in, data out, select), each a digital port and a pin of it. Nothing is sent."""
    async def SPI_getPinMap_async(self) -> dict[int, list[tuple[int, int]]]:
        """The SPI ports: port number to its pins (clock, data in, data out, select), each a digital port and a pin of it. Nothing is sent."""
    def _checkSPIPort(self, port: int) -> None:
        """Raises SPIPortNotAvaliableError."""
    def _checkSPIDataSize(self, mode: int) -> None:
        """0 or 1; else SPIDataSizeNotVaildError."""
    def _checkSPIFirstBit(self, mode: int) -> None:
        """0 or 1; else SPIFirstBitNotVaildError."""
    def _checkSPIMode(self, mode: int) -> None:
        """0..3; else SPIModeNotVaildError."""
    def _checkSPIPrescaler(self, prescaler: int) -> None:
        """A power of two, 2..256; else SPIPrescalerNotVaildError."""
    def _checkSPIPinState(self, port: int, allow_state: list[str], timeout: float = 3) -> None:
        """Raises SPIPortNotAvaliableError unless each pin of the port is in one of these modes, such as ["Idle", "DI", "DO"]."""
    async def _checkSPIPinState_async(self, port: int, allow_state: list[str]) -> None:
        """Raises SPIPortNotAvaliableError unless each pin of the port is in one of these modes, such as ["Idle", "DI", "DO"]."""

class SPIModule_async(SPIBased):
    """SPI masters as coroutines."""
    async def SPI_open_async(self, port: int) -> int:
        """Opens a port; its pins must be idle or digital lines. Raises SPIPortNotAvaliableError, also when another function uses one of them or an earlier program left the port open: SPI_close frees it. Returns 0."""
    async def SPI_close_async(self, port: int) -> int:
        """Closes a port; its pins are idle then. Raises SPIPortNotAvaliableError. Returns 0."""
    async def SPI_setDataSize_async(self, port: int, mode: int) -> int:
        """0: 8 bits; 1: 16 bits, for each of which the data has two bytes, the more significant one first. Raises SPIDataSizeNotVaildError. Returns 0."""
    async def SPI_setFirstBit_async(self, port: int, mode: int) -> int:
        """Which bit goes first: 0 the most significant, 1 the least. Raises SPIFirstBitNotVaildError. Returns 0."""
    async def SPI_setPrescaler_async(self, port: int, prescaler: int) -> int:
        """Divides the port's clock by a power of two, 2..256 (at first). Raises SPIPrescalerNotVaildError. Returns 0."""
    async def SPI_setMode_async(self, port: int, mode: int) -> int:
        """Polarity and phase of the clock: 0 idles low, data taken at its first edge; 1 low, second edge; 2 high, first edge; 3 high, second edge. Raises SPIModeNotVaildError. Returns 0."""
    async def _SPI_setCPOL_async(self, port: int, polarity: int) -> int:
        """The level at which the clock idles, 0 or 1; else SPIModeNotVaildError. Returns 0."""
    async def _SPI_setCPHA_async(self, port: int, phase: int) -> int:
        """The edge of the clock at which data is taken: 0 the first, 1 the second; else SPIModeNotVaildError. Returns 0."""
    async def SPI_write_async(self, port: int, write_data: list[int]) -> int:
        """Sends bytes, 0..255 each (else InputDataNotInRangeError), in one selection of the slave. The device takes at most 256 (else FirmwareSPIError), and whole words: an even number when the data size is 16 bits. More than 65533 fit in no packet: InputDataNotInRangeError. Waits until they are sent; what takes longer than 0.01 s is sent again unless `resend` is False. Returns 0."""
    async def SPI_read_async(self, port: int, bytes_to_read: int) -> list[int]:
        """What the slave sends in this many bytes, 0..255 (else InputDataNotInRangeError), while zeros are sent. Raises FirmwareSPIError for half a word when the data size is 16 bits."""
    async def SPI_readAndWrite_async(self, port: int, write_data: list[int]) -> list[int]:
        """Sends bytes as SPI_write does, with its limits, and gives the bytes that the slave sends meanwhile."""
    async def SPI_reset_async(self, port: int) -> int:
        """Restores the default settings of a port: 8 bits, most significant first, mode 0, prescaler 256. Returns 0."""

class SPIModule(SPIBased):
    """SPI masters."""
    def SPI_open(self, port: int, timeout: float = 3) -> int:
        """Opens a port; its pins must be idle or digital lines. Raises SPIPortNotAvaliableError, also when another function uses one of them or an earlier program left the port open: SPI_close frees it. Returns 0."""
    def SPI_close(self, port: int, timeout: float = 3) -> int:
        """Closes a port; its pins are idle then. Raises SPIPortNotAvaliableError. Returns 0."""
    def SPI_setDataSize(self, port: int, mode: int, timeout: float = 3) -> int:
        """0: 8 bits; 1: 16 bits, for each of which the data has two bytes, the more significant one first. Raises SPIDataSizeNotVaildError. Returns 0."""
    def SPI_setFirstBit(self, port: int, mode: int, timeout: float = 3) -> int:
        """Which bit goes first: 0 the most significant, 1 the least. Raises SPIFirstBitNotVaildError. Returns 0."""
    def SPI_setPrescaler(self, port: int, prescaler: int, timeout: float = 3) -> int:
        """Divides the port's clock by a power of two, 2..256 (at first). Raises SPIPrescalerNotVaildError. Returns 0."""
    def SPI_setMode(self, port: int, mode: int, timeout: float = 3) -> int:
        """Polarity and phase of the clock: 0 idles low, data taken at its first edge; 1 low, second edge; 2 high, first edge; 3 high, second edge. Raises SPIModeNotVaildError. Returns 0."""
    def _SPI_setCPOL(self, port: int, polarity: int, timeout: float = 3) -> int:
        """The level at which the clock idles, 0 or 1; else SPIModeNotVaildError. Returns 0."""
    def _SPI_setCPHA(self, port: int, phase: int, timeout: float = 3) -> int:
        """The edge of the clock at which data is taken: 0 the first, 1 the second; else SPIModeNotVaildError. Returns 0."""
    def SPI_write(self, port: int, write_data: list[int], timeout: float = 3) -> int:
        """Sends bytes, 0..255 each (else InputDataNotInRangeError), in one selection of the slave. The device takes at most 256 (else FirmwareSPIError), and whole words: an even number when the data size is 16 bits. More than 65533 fit in no packet: InputDataNotInRangeError. Waits until they are sent; what takes longer than 0.01 s is sent again unless `resend` is False. Returns 0."""
    def SPI_read(self, port: int, bytes_to_read: int, timeout: float = 3) -> list[int]:
        """What the slave sends in this many bytes, 0..255 (else InputDataNotInRangeError), while zeros are sent. Raises FirmwareSPIError for half a word when the data size is 16 bits."""
    def SPI_readAndWrite(self, port: int, write_data: list[int], timeout: float = 3) -> list[int]:
        """Sends bytes as SPI_write does, with its limits, and gives the bytes that the slave sends meanwhile."""
    def SPI_reset(self, port: int, timeout: float = 3) -> int:
        """Restores the default settings of a port: 8 bits, most significant first, mode 0, prescaler 256. Returns 0."""

class SkylogE3A(WifiDevice, SystemModule, SystemAnalogModule, NetworkModule, WifiModule, AIModule, SystemModule_async, SystemAnalogModule_async, NetworkModule_async, WifiModule_async, AIModule_async):
    """Skylog-E3-A: 8 channels of 16-bit analog input, +-10 V, up to 10 kHz, over Wi-Fi."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class SkylogE3AH(WifiDevice, SystemModule, SystemAnalogModule, NetworkModule, WifiModule, AIModule, SystemModule_async, SystemAnalogModule_async, NetworkModule_async, WifiModule_async, AIModule_async):
    """Skylog-E3-AH: 8 channels of 16-bit analog input, +-10 V, up to 10 kHz, and attitude, over Wi-Fi."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class SkylogE3AO(WifiDevice, SystemModule, SystemAnalogModule, NetworkModule, WifiModule, AOModule, SystemModule_async, SystemAnalogModule_async, NetworkModule_async, WifiModule_async, AOModule_async):
    """Skylog-E3-AO: 8 channels of analog output, +-10 V, over Wi-Fi."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class SkylogE3AOD(WifiDevice, SystemModule, SystemAnalogModule, NetworkModule, WifiModule, AIModule, AOModule, DIOModule, SystemModule_async, SystemAnalogModule_async, NetworkModule_async, WifiModule_async, AIModule_async, AOModule_async, DIOModule_async):
    """Skylog-E3-AOD: 8 channels of 16-bit analog input, up to 10 kHz, 4 of analog output, +-10 V, 8 digital outputs (port 1) and 8 inputs (port 2), over Wi-Fi."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class SkylogF4A(WifiDevice, SystemModule, SystemAnalogModule, NetworkModule, WifiModule, AIModule, SystemModule_async, SystemAnalogModule_async, NetworkModule_async, WifiModule_async, AIModule_async):
    """Skylog-F4-A: 8 channels of 16-bit analog input, +-10 V, up to 20 kHz, over Wi-Fi."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class FeroxA(ETHDevice, SystemModule, NetworkModule, AIModule, SystemModule_async, NetworkModule_async, AIModule_async):
    """Ferox-A: 8 channels of 16-bit analog input, +-10 V, over Ethernet."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class FeroxA2(ETHDevice, SystemModule, NetworkModule, AI24BitStreamingModule, SystemModule_async, NetworkModule_async, AI24BitStreamingModule_async):
    """Ferox-A2: 8 channels of 24-bit analog input, +-10 V, up to 10 kHz, over Ethernet."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class FeroxI(ETHDevice, SystemModule, NetworkModule, AI24BitModule, SystemModule_async, NetworkModule_async, AI24BitModule_async):
    """Ferox-I: 24-bit analog input, +-25 or +-50 V, on demand, over Ethernet."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class FeroxIA(ETHDevice, SystemModule, NetworkModule, AI24BitModule, SystemModule_async, NetworkModule_async, AI24BitModule_async):
    """Ferox-IA: 24-bit analog input, +-25 or +-50 V, on demand, over Ethernet."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class FeroxO(ETHDevice, SystemModule, NetworkModule, AOStreamingModule, SystemModule_async, NetworkModule_async, AOStreamingModule_async):
    """Ferox-O: 8 channels of analog output with generation of waveforms, +-10 V, over Ethernet."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class FeroxD(ETHDevice, SystemModule, NetworkModule, DIOModule, SystemModule_async, NetworkModule_async, DIOModule_async):
    """Ferox-D: 8 digital outputs (port 0) and 8 digital inputs (port 1), over Ethernet."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class FeroxEXD(ETHDevice, SystemModule, NetworkModule, DIOModule, SystemModule_async, NetworkModule_async, DIOModule_async):
    """Ferox-EX-D: 32 digital lines in 4 ports, input or output by choice, over Ethernet."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class CordlogF1D(USBDevice, SystemModule, UARTModule, I2CModule, SPIModule, DIOModule, SystemModule_async, UARTModule_async, I2CModule_async, SPIModule_async, DIOModule_async):
    """Cordlog-F1-D: 26 digital lines in 4 ports, input or output by choice, over USB."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class CordlogF1AD(USBDevice, SystemModule, UARTModule, I2CModule, SPIModule, AIModule, DIOModule, SystemModule_async, UARTModule_async, I2CModule_async, SPIModule_async, AIModule_async, DIOModule_async):
    """Cordlog-F1-AD: a Cordlog-F1-D with 8 channels of 16-bit analog input, +-10 V, over USB."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class CordlogF1TD(USBDevice, SystemModule, UARTModule, I2CModule, SPIModule, DIOModule, SystemModule_async, UARTModule_async, I2CModule_async, SPIModule_async, DIOModule_async):
    """Cordlog-F1-TD: a Cordlog-F1-D with thermocouple inputs, over USB."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class CordlogF1CD(USBDevice, SystemModule, UARTModule, I2CModule, SPIModule, CANModule, DIOModule, SystemModule_async, UARTModule_async, I2CModule_async, SPIModule_async, CANModule_async, DIOModule_async):
    """Cordlog-F1-CD: a Cordlog-F1-D with a CAN bus, over USB."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class CordlogF1RD(USBDevice, SystemModule, UARTModule, I2CModule, SPIModule, DIOModule, SystemModule_async, UARTModule_async, I2CModule_async, SPIModule_async, DIOModule_async):
    """Cordlog-F1-RD: a Cordlog-F1-D with resistance thermometer inputs, over USB."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class CordlogF1DSNK(USBDevice, SystemModule, DIOModule, SystemModule_async, DIOModule_async):
    """Cordlog-F1-D-SNK: digital lines with current-sinking outputs, over USB."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

class CordlogF1AOD(USBDevice, SystemModule, UARTModule, I2CModule, AIModule, AOStreamingModule, DIOModule, SystemModule_async, UARTModule_async, I2CModule_async, AIModule_async, AOStreamingModule_async, DIOModule_async):
    """Cordlog-F1-AOD: digital lines, 8 channels of 16-bit analog input and 4 of analog output with generation of waveforms, +-10 V, over USB."""
    def __init__(self, verbose: bool = True) -> None:
        """Live from construction; `verbose` False keeps its messages off standard output."""

def printGenericError(err: BaseException) -> None:
    """Prints one line to standard output: the name of the class, a colon and the text of `err`."""
def checkFirmwareError(status: float) -> float:
    """Returns a firmware status that equals 0; any other raises the class of that status, FirmwareOtherError
    when it is not listed. What is not a number raises InputTypeNotCorrectError."""
def convert2U8ToU16(int_list: list[int]) -> int:
    """The 16-bit unsigned int in 2 bytes, most significant first."""
def convertU16To2U8(value: float) -> list[int]:
    """`value` as a 16-bit unsigned int in 2 bytes, most significant first.
    A float is truncated toward zero; a value that does not fit raises InputDataNotInRangeError."""
def convert4U8ToU32(int_list: list[int]) -> int:
    """The 32-bit unsigned int in 4 bytes, most significant first."""
def convertU32To4U8(value: float) -> list[int]:
    """`value` as a 32-bit unsigned int in 4 bytes, most significant first.
    A float is truncated toward zero; a value that does not fit raises InputDataNotInRangeError."""
def convert8U8ToU64(int_list: list[int]) -> int:
    """The 64-bit unsigned int in 8 bytes, most significant first."""
def convertU64To8U8(value: float) -> list[int]:
    """`value` as a 64-bit unsigned int in 8 bytes, most significant first.
    A float is truncated toward zero; a value that does not fit raises InputDataNotInRangeError."""
def convert2U8ToI16(int_list: list[int]) -> int:
    """The 16-bit signed int in 2 bytes, most significant first."""
def convertI16To2U8(value: float) -> list[int]:
    """`value` as a 16-bit signed int in 2 bytes, most significant first.
    A float is truncated toward zero; a value that does not fit raises InputDataNotInRangeError."""
def convert4U8ToI32(int_list: list[int]) -> int:
    """The 32-bit signed int in 4 bytes, most significant first."""
def convertI32To4U8(value: float) -> list[int]:
    """`value` as a 32-bit signed int in 4 bytes, most significant first.
    A float is truncated toward zero; a value that does not fit raises InputDataNotInRangeError."""
def convert8U8ToI64(int_list: list[int]) -> int:
    """The 64-bit signed int in 8 bytes, most significant first."""
def convertI64To8U8(value: float) -> list[int]:
    """`value` as a 64-bit signed int in 8 bytes, most significant first.
    A float is truncated toward zero; a value that does not fit raises InputDataNotInRangeError."""
def convert4U8ToF32(int_list: list[int]) -> float:
    """The binary32 float in 4 bytes, most significant first."""
def convertF32To4U8(value: float) -> list[int]:
    """`value` as a binary32 float in 4 bytes, most significant first.
    A value beyond the largest finite one becomes an infinity."""
def convert8U8ToF64(int_list: list[int]) -> float:
    """The binary64 float in 8 bytes, most significant first."""
def convertF64To8U8(value: float) -> list[int]:
    """`value` as a binary64 float in 8 bytes, most significant first.
    A value beyond the largest finite one becomes an infinity."""
def convertDegToRad(degrees: float) -> float:
    """Degrees as radians."""
def convertRadToDeg(radians: float) -> float:
    """Radians as degrees."""
def convertU8ListToStr(int_list: list[int]) -> str:
    """The UTF-8 text in `int_list`, up to its first NUL. Bytes that are not UTF-8 raise UnicodeDecodeError."""
def convertStrToU8List(str_: str) -> list[int]:
    """The code point of each character; above 255 outside Latin-1. No terminator is added."""
def convertIPAddrTo4U8(value: str) -> list[int]:
    """The four octets of a dotted IPv4 address in written order. The forms of inet_aton are accepted, others
    raise InputDataNotInRangeError."""
def convertMACAddrTo6U8(str_: str) -> list[int]:
    """The base-16 numbers between the colons of `str_`, as many as there are. A malformed one raises
    InputDataNotInRangeError."""
def clearBit(number: int, index: int) -> int:
    """`number` with bit `index` cleared; bit 0 is the lowest."""
def fillBit(number: int, index: int) -> int:
    """`number` with bit `index` set; bit 0 is the lowest."""
def readBit(number: int, index: int) -> int:
    """Bit `index` of `number`, 0 or 1; bit 0 is the lowest."""
def writeBit(number: int, index: int, value: int) -> int | None:
    """`number` with bit `index` cleared or set as `value` is 0 or 1; None for any other `value`."""
def convertIntToBinaryList(value_int: int, width: int) -> list[int]:
    """`width` elements 0 or 1, the lowest bit first."""
def convertIntToIndexList(value_int: int) -> list[int]:
    """The positions of the set bits, ascending. A negative number raises InputDataNotInRangeError."""
def convertIndexListToInt(index_list: list[int]) -> int:
    """The number whose bits at these positions are set."""
def convertIndexAndBinaryListsToInt(index_list: list[int], binary_list: list[int]) -> int:
    """The number whose bits at these positions have these values, each clipped into 0..1 first; 0 elsewhere."""
def coerce(list_: list[float], lower: float = 0, upper: float = 1) -> list[float]:
    """Each element clipped into lower..upper."""
def adjustDataList(data_list: list[int], list_length: int = 8, padding_num: int = 0) -> list[int]:
    """`data_list` padded at the end up to `list_length` elements; a longer list keeps them all."""
def changeToLUMAPort(slot: int) -> int:
    """The port of a LUMA slot: slots count from 1, ports from 0."""
def checkInputType(data: object, correct_type: type) -> None:
    """Raises InputTypeNotCorrectError unless isinstance(data, correct_type)."""
def checkInputTypeConsistent(data: object, data2: object) -> None:
    """Raises InputTypeNotConsistentError unless both are of exactly the same type."""
def checkEachItemInRange(int_list: list[int], low: int = 0, high: int = 255, msg: str | None = None) -> None:
    """Raises InputDataNotInRangeError with `msg` unless every item is in low..high."""
def checkFuncPinMap(pinmap_list: list[int], allow_state_list: list[int]) -> bool:
    """Whether every cell of `pinmap_list` is in `allow_state_list`."""
def checkPinMap(pinmap_list: list[list[int]], allow_state_list: list[int]) -> bool:
    """Whether every cell of every row of `pinmap_list` is in `allow_state_list`."""
def getLibUSB1() -> None:
    """Looks for a libusb-1.0.dll beside the module and in ../ext_lib. Where neither is there, issues ExtLibNotFoundWarning, once in a process. The system's libusb-1.0 is used in any case."""
