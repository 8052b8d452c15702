/* Calls NeltoUSB.dll as careless programs do: null pointers, no room, a link that is used on after a failure. Prints
 * one line a call: what was called and the numbers that came back. */
#include <windows.h>

#include <stdio.h>

#include "NeltoUSB.h"

#define UNTOUCHED 0xEEEEEEEEu

static void tell(const char* call, uint32_t result, uint32_t number) {
    printf("%s: %lu %lX\n", call, (unsigned long)result, (unsigned long)number);
}

static void list(void) {
    uint32_t serials[3] = {UNTOUCHED, UNTOUCHED, UNTOUCHED};
    uint32_t count      = UNTOUCHED;
    uint32_t result     = NeltoUSBGetDevices(2, serials, 2, &count);
    tell("list two of three", result, count);
    tell("behind the room", 0, serials[2]);
    count  = UNTOUCHED;
    result = NeltoUSBGetDevices(2, serials, 0, &count);
    tell("list no room", result, count);
    count  = UNTOUCHED;
    result = NeltoUSBGetDevices(2, NULL, 5, &count);
    tell("list null array", result, count);
    result = NeltoUSBGetDevices(2, serials, 3, NULL);
    tell("list null count", result, serials[2]);
    tell("list nulls", NeltoUSBGetDevices(2, NULL, 3, NULL), 0);
    count  = UNTOUCHED;
    result = NeltoUSBGetDevices(3, serials, 3, &count);
    tell("list wrong type", result, count);
}

static void talk(void) {
    const uint8_t get_ident[] = {0x42};
    uint8_t reply[10]         = {0};
    uint32_t length           = UNTOUCHED;
    NeltoUSBHandle link       = (NeltoUSBHandle)&length;
    uint32_t result           = NeltoUSBOpen(3, 0, &link);
    tell("open wrong type", result, link != NULL);
    tell("open null", NeltoUSBOpen(2, 0, NULL), 0);
    result = NeltoUSBOpen(2, 0, &link);
    tell("open", result, link != NULL);

    result = NeltoUSBTransceive(link, NULL, 1, reply, 9, &length, 200);
    tell("null request", result, length);
    length = UNTOUCHED;
    result = NeltoUSBTransceive(link, get_ident, 0, reply, 9, &length, 200);
    tell("no request", result, length);
    result = NeltoUSBTransceive(link, get_ident, 1, NULL, 9, &length, 200);
    tell("null reply", result, length);
    result = NeltoUSBTransceive(link, get_ident, 1, reply, 8, &length, 200);
    tell("short reply", result, length);
    tell("behind the reply", 0, reply[8]);
    result = NeltoUSBTransceive(link, get_ident, 1, reply, 9, NULL, 200);
    tell("null length", result, reply[4]);
    result = NeltoUSBTransceive(link, get_ident, 1, reply, 9, &length, 200);
    tell("exact room", result, length);
    tell("time-out", NeltoUSBSetTimeout(link, 300), 0);
    tell("close", NeltoUSBClose(link), 0);
}

static void without_a_link(void) {
    uint32_t length = UNTOUCHED;
    uint32_t result = NeltoUSBTransceive(NULL, NULL, 0, NULL, 0, &length, 0);
    tell("transceive null link", result, length);
    tell("transceive nulls", NeltoUSBTransceive(NULL, NULL, 0, NULL, 0, NULL, 0), 0);
    tell("close null link", NeltoUSBClose(NULL), 0);
    tell("time-out null link", NeltoUSBSetTimeout(NULL, 1), 0);
}

/* New handles get the lowest free number. */
static uint32_t next_handle(void) {
    const HANDLE event = CreateEventW(NULL, FALSE, FALSE, NULL);
    CloseHandle(event);
    return (uint32_t)(uintptr_t)event;
}

/* A second copy, since this program keeps the first one loaded. */
static void load_and_unload(void) {
    uint32_t first = 0;
    for (int round = 0; round < 5; ++round) {
        const HMODULE library = LoadLibraryW(L"Copy.dll");
        if (library == NULL) tell("load", GetLastError(), 0);
        FreeLibrary(library);
        if (round == 0) first = next_handle();
    }
    tell("loaded and unloaded", 0, next_handle() - first);
}

int main(void) {
    list();
    talk();
    without_a_link();
    load_and_unload();
    return 0;
}
