/* Loads and unloads a copy of NeltoUSB.dll, since this program keeps the first one loaded. Ends with the number of the handles that
 * this leaves behind, less than 0 where it cannot be loaded. */
#include <windows.h>

#include "NeltoUSB.h"

/* New handles get the lowest free number. */
static int next_handle(void) {
    const HANDLE event = CreateEventW(NULL, FALSE, FALSE, NULL);
    CloseHandle(event);
    return (int)(intptr_t)event;
}

int main(void) {
    int first = 0;
    NeltoUSBSetTimeout(NULL, 0);
    for (int round = 0; round < 5; ++round) {
        const HMODULE library = LoadLibraryW(L"Copy.dll");
        if (library == NULL) return -1;
        FreeLibrary(library);
        if (round == 0) first = next_handle();
    }
    return next_handle() - first;
}
