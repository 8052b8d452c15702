/* NeltoUSB: the link to a flue-gas analyser of generation 2004 behind an FTDI USB converter, for C and C++ programs.
 *
 * The functions come with NeltoUSB.dll and, under the same names, with NeltoStackWatcher.exe. They need FTDI's driver
 * with its library FTD2XX.DLL on the machine, which they load while a listing or an open link needs it.
 *
 * A link is used by one thread at a time. Links are independent of each other. Nothing is logged.
 *
 * Programs that are linked with an import library need nothing more than this header. The names are not decorated, so
 * that GetProcAddress finds them as they stand here; on 32-bit Windows the calling convention is __cdecl.
 */
#ifndef NELTO_USB_H
#define NELTO_USB_H

#include <stdint.h>

#if defined(_WIN32)
#define NELTO_USB_CALL __cdecl
#if defined(NELTO_USB_EXPORTS)
#define NELTO_USB_API __declspec(dllexport)
#else
#define NELTO_USB_API __declspec(dllimport)
#endif
#else
#define NELTO_USB_CALL
#define NELTO_USB_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Device types, which are USB product IDs at the same time. The vendor ID is always 0x3C2D. */
enum NeltoUSBDeviceType {
    NELTO_USB_TYPE_2  = 2, /* 921600 baud; the 780 and 790 */
    NELTO_USB_TYPE_9  = 9, /* 57600 baud */
    NELTO_USB_TYPE_16 = 16 /* 921600 baud; the 780 and 790 */
};

/* What every function returns. */
enum NeltoUSBResult {
    NELTO_USB_OK                = 0,
    NELTO_USB_WRONG_DEVICE_TYPE = 1, /* the device type is not 2, 9 or 16 */
    NELTO_USB_NOT_AVAILABLE = 2, /* FTD2XX.DLL cannot be loaded, the version of the copy in the system directory cannot
                                        be read, or a function that is needed is missing; or the link is not open */
    NELTO_USB_DRIVER_FAILED = 3, /* a driver call failed, fewer bytes were written than asked or read than announced, or
                                        the driver signalled bytes without having any */
    NELTO_USB_NO_HANDLE     = 4, /* the link handle is null */
    NELTO_USB_NO_DEVICE     = 5, /* no FTDI device is attached, or none of this type (and serial number) */
    NELTO_USB_TIMEOUT       = 6, /* no data within the time-out; also a packet that never becomes complete */
    NELTO_USB_WRONG_START   = 7, /* a received packet does not begin with 0x21 */
    NELTO_USB_PROTOCOL_FAULT = 8, /* wrong acknowledgement, reply shorter than 8 bytes, length byte, index or checksum
                                        wrong, a reply that goes on without content; or a request of no bytes */
    NELTO_USB_REPLY_TOO_LONG = 9, /* the reply does not fit into replyCapacity */

    /* NeltoUSBGetDevices only: the failed step, to which the status of the driver is added. */
    NELTO_USB_COUNT_FAILED       = 1000, /* counting the devices */
    NELTO_USB_SERIAL_FAILED      = 2000, /* the serial number of a device index */
    NELTO_USB_OPEN_FAILED        = 3000, /* FT_OpenEx */
    NELTO_USB_EEPROM_FAILED      = 4000, /* FT_EE_Read (driver versions below 3) */
    NELTO_USB_DEVICE_INFO_FAILED = 5000  /* FT_GetDeviceInfo (driver versions from 3 on) */
};

/* One open link. */
typedef struct NeltoUSBLink* NeltoUSBHandle;

/* Lists the attached analysers of one type.
 *
 *   deviceType  2, 9 or 16; any other gives NELTO_USB_WRONG_DEVICE_TYPE and nothing is loaded.
 *   serials     receives the serial numbers in the order of the driver's device index; after a failure its content is
 *               not defined. Null is taken as a capacity of 0.
 *   capacity    most numbers that `serials` has room for. More analysers than that are no error: the others are left
 *               out, so a result that fills the array may not be all. With 0 nothing is stored, but the driver is asked
 *               all the same, and what goes wrong there is told.
 *   count       receives how many numbers were stored; it is 0 from the beginning of the call, and after every failure.
 *               Null is allowed, nothing is stored there then.
 *
 * No attached device at all is a success with a count of 0. With a driver version below 3 an analyser whose serial
 * number is not a decimal number is left out; from 3 on it is listed with the number 0. Every attached FTDI device is
 * opened for a moment: one that another program has open ends the listing with NELTO_USB_OPEN_FAILED plus the driver's
 * status.
 */
NELTO_USB_API uint32_t NELTO_USB_CALL NeltoUSBGetDevices(uint32_t deviceType, uint32_t* serials, uint32_t capacity,
                                                         uint32_t* count);

/* Opens the link to an analyser.
 *
 *   deviceType    2, 9 or 16; any other gives NELTO_USB_WRONG_DEVICE_TYPE and nothing is loaded.
 *   serialNumber  the analyser's serial number as the listing gives it, 0 for the first of this type. With a driver
 *                 version from 3 on the number is not compared: the first analyser of the type is taken.
 *   handle        receives the link, to be given to NeltoUSBClose, or null when the result is not NELTO_USB_OK. A null
 *                 pointer here gives NELTO_USB_NO_HANDLE and nothing is opened.
 */
NELTO_USB_API uint32_t NELTO_USB_CALL NeltoUSBOpen(uint32_t deviceType, uint32_t serialNumber, NeltoUSBHandle* handle);

/* Sends a request and receives the reply to it.
 *
 *   handle         an open link; null gives NELTO_USB_NO_HANDLE.
 *   request        the message; the packets, their checksums and acknowledgements are added here.
 *   requestLength  its length in bytes, 1 to 6553500. Any other length, or a null `request`, sends nothing and gives
 *                  NELTO_USB_PROTOCOL_FAULT.
 *   reply          receives the message of the reply. Null is taken as a capacity of 0. After a failure its content is
 *                  not defined.
 *   replyCapacity  most bytes that `reply` has room for.
 *   replyLength    receives the length of the reply; 0 when the result is not NELTO_USB_OK. Null is allowed.
 *   timeoutMs      milliseconds to wait for each piece of the reply, 0xFFFFFFFF for no end; stays in force for the
 *                  link.
 *
 * A failure leaves the link open; nothing is repeated. A reply that comes after a time-out stays with the driver: close and
 * reopen the link before the next request, or it may be taken for the reply to that one.
 */
NELTO_USB_API uint32_t NELTO_USB_CALL NeltoUSBTransceive(NeltoUSBHandle handle, const uint8_t* request,
                                                         uint32_t requestLength, uint8_t* reply, uint32_t replyCapacity,
                                                         uint32_t* replyLength, uint32_t timeoutMs);

/* Closes a link.
 *
 *   handle  the link; null gives NELTO_USB_NO_HANDLE. It must not be used again, whatever the result.
 */
NELTO_USB_API uint32_t NELTO_USB_CALL NeltoUSBClose(NeltoUSBHandle handle);

/* Sets the time-out of a link. Every NeltoUSBTransceive sets it anew.
 *
 *   handle     an open link; null gives NELTO_USB_NO_HANDLE.
 *   timeoutMs  milliseconds to wait for each piece of a reply; 250 after NeltoUSBOpen.
 */
NELTO_USB_API uint32_t NELTO_USB_CALL NeltoUSBSetTimeout(NeltoUSBHandle handle, uint32_t timeoutMs);

#ifdef __cplusplus
}
#endif

#endif
