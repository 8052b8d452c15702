/* Calls NeltoUSB.dll as careless programs do: null pointers, no room, a link that is used on after a failure. Prints
 * one line a call: what was called, the result code, the number that came back, and what stands behind the room given. */
#include <windows.h>

#include <stdio.h>

#include "NeltoUSB.h"

#define UNTOUCHED 0xEEEEEEEEu

static uint32_t number, serials[3];
static const uint8_t get_ident[] = {0x42};
static uint8_t reply[10];

static void tell(const char* call, uint32_t result, uint32_t behind) {
    printf("%s: %lu %lX %lX\n", call, (unsigned long)result, (unsigned long)number, (unsigned long)behind);
    number = UNTOUCHED;
}

static void list(const char* call, uint32_t type, uint32_t* out, uint32_t capacity, uint32_t* count) {
    serials[2]            = UNTOUCHED;
    const uint32_t result = NeltoUSBGetDevices(type, out, capacity, count);
    tell(call, result, serials[2]);
}

static void talk(const char* call, NeltoUSBHandle link, const uint8_t* request, uint32_t size, uint8_t* out,
                 uint32_t capacity, uint32_t* length) {
    const uint32_t result = NeltoUSBTransceive(link, request, size, out, capacity, length, 200);
    tell(call, result, reply[8]);
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
    NeltoUSBHandle link = (NeltoUSBHandle)&number;
    number              = UNTOUCHED;
    list("list two of three", 2, serials, 2, &number);
    list("list no room", 2, serials, 0, &number);
    list("list null array", 2, NULL, 5, &number);
    list("list null count", 2, serials, 3, NULL);
    list("list nulls", 2, NULL, 3, NULL);
    list("list wrong type", 3, serials, 3, &number);
    uint32_t result = NeltoUSBOpen(3, 0, &link);
    tell("open wrong type", result, link != NULL);
    tell("open null", NeltoUSBOpen(2, 0, NULL), 0);
    result = NeltoUSBOpen(2, 0, &link);
    tell("open", result, link != NULL);
    talk("null request", link, NULL, 1, reply, 9, &number);
    talk("no request", link, get_ident, 0, reply, 9, &number);
    talk("null reply", link, get_ident, 1, NULL, 9, &number);
    talk("short reply", link, get_ident, 1, reply, 8, &number);
    talk("null length", link, get_ident, 1, reply, 9, NULL);
    talk("exact room", link, get_ident, 1, reply, 9, &number);
    tell("time-out", NeltoUSBSetTimeout(link, 300), 0);
    tell("close", NeltoUSBClose(link), 0);
    talk("transceive null link", NULL, NULL, 0, NULL, 0, &number);
    talk("transceive nulls", NULL, NULL, 0, NULL, 0, NULL);
    tell("close null link", NeltoUSBClose(NULL), 0);
    tell("time-out null link", NeltoUSBSetTimeout(NULL, 1), 0);
    load_and_unload();
    return 0;
}
