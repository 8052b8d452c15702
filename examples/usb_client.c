/* Lists the analysers behind FTDI USB converters, or sends one of them a request and prints its reply.
 *
 *   usb_client list
 *   usb_client talk [device type [request as hexadecimal bytes]]
 *
 * The exit code is the result code of the function that failed, 0 for success; 64 when the command line is wrong. A
 * result above 1000 ends as exit code 100, for not every caller sees more than 8 bits.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "NeltoUSB.h"

#define WRONG_USE    64
#define LONG_RESULT  100
#define MOST_DEVICES 16
#define REQUEST_SIZE 512
#define REPLY_SIZE   4096
#define TIMEOUT_MS   3000
#define GET_IDENT    0x42

static const uint32_t device_types[] = {NELTO_USB_TYPE_2, NELTO_USB_TYPE_9, NELTO_USB_TYPE_16};

static const char* meaning_of(uint32_t result) {
    switch (result) {
        case NELTO_USB_OK: return "success";
        case NELTO_USB_WRONG_DEVICE_TYPE: return "device type not 2, 9 or 16";
        case NELTO_USB_NOT_AVAILABLE: return "FTD2XX.DLL missing or not usable";
        case NELTO_USB_DRIVER_FAILED: return "a driver call failed";
        case NELTO_USB_NO_HANDLE: return "no link";
        case NELTO_USB_NO_DEVICE: return "no such analyser attached";
        case NELTO_USB_TIMEOUT: return "no answer in time";
        case NELTO_USB_WRONG_START: return "packet with a wrong start byte";
        case NELTO_USB_PROTOCOL_FAULT: return "packet protocol fault";
        case NELTO_USB_REPLY_TOO_LONG: return "reply longer than the buffer";
        default: return "a step of the listing failed, driver status added";
    }
}

static int failed(const char* function, uint32_t result) {
    printf("%s: %lu (%s)\n", function, (unsigned long)result, meaning_of(result));
    return result >= NELTO_USB_COUNT_FAILED ? LONG_RESULT : (int)result;
}

static int list_devices(void) {
    for (size_t i = 0; i < sizeof(device_types) / sizeof(device_types[0]); ++i) {
        uint32_t serials[MOST_DEVICES];
        uint32_t count  = 0;
        uint32_t result = NeltoUSBGetDevices(device_types[i], serials, MOST_DEVICES, &count);
        if (result != NELTO_USB_OK) return failed("NeltoUSBGetDevices", result);
        for (uint32_t k = 0; k < count; ++k) {
            printf("type %lu serial %lu\n", (unsigned long)device_types[i], (unsigned long)serials[k]);
        }
    }
    return 0;
}

static int talk(uint32_t device_type, const uint8_t* request, uint32_t length) {
    static uint8_t reply[REPLY_SIZE];
    uint32_t received   = 0;
    NeltoUSBHandle link = NULL;
    uint32_t result     = NeltoUSBOpen(device_type, 0, &link);
    if (result != NELTO_USB_OK) return failed("NeltoUSBOpen", result);

    result = NeltoUSBTransceive(link, request, length, reply, sizeof(reply), &received, TIMEOUT_MS);
    if (result == NELTO_USB_OK) {
        printf("reply");
        for (uint32_t i = 0; i < received; ++i) printf(" %02X", reply[i]);
        printf("\n");
    }
    uint32_t closed = NeltoUSBClose(link);
    if (result != NELTO_USB_OK) return failed("NeltoUSBTransceive", result);
    return closed == NELTO_USB_OK ? 0 : failed("NeltoUSBClose", closed);
}

/* Pairs of hexadecimal digits; 0 when the text is anything else. */
static uint32_t read_request(const char* text, uint8_t* request) {
    size_t digits = strlen(text);
    if (digits % 2 != 0 || digits / 2 > REQUEST_SIZE || strspn(text, "0123456789ABCDEFabcdef") != digits) return 0;
    for (size_t i = 0; i < digits / 2; ++i) {
        char pair[3] = {text[2 * i], text[2 * i + 1], '\0'};
        request[i]   = (uint8_t)strtoul(pair, NULL, 16);
    }
    return (uint32_t)(digits / 2);
}

int main(int argc, char** argv) {
    uint8_t request[REQUEST_SIZE] = {GET_IDENT};
    uint32_t length               = 1;
    uint32_t device_type          = NELTO_USB_TYPE_2;
    if (argc == 2 && strcmp(argv[1], "list") == 0) return list_devices();
    if (argc >= 2 && argc <= 4 && strcmp(argv[1], "talk") == 0) {
        if (argc >= 3) device_type = (uint32_t)strtoul(argv[2], NULL, 10);
        if (argc == 4) length = read_request(argv[3], request);
        if (length != 0) return talk(device_type, request, length);
    }
    fprintf(stderr, "usb_client list\nusb_client talk [device type [request as hexadecimal bytes]]\n");
    return WRONG_USE;
}
