// NeltoStackWatcher: shows the live values of a flue-gas analyser and hands them on.
#include <windows.h>

#include <commctrl.h>

#include "core/program_state.h"
#include "core/settings.h"
#include "instrument/opening.h"
#include "ui/main_dialog.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, wchar_t* command_line, int) {
    nelto::ProgramState state;
    nelto::StartProgram(state, command_line);
    InitCommonControls();
    nelto::ui::RunMainDialog(instance, state, nelto::Nelto780Open);
    return 0;
}
