// The settings dialog: how the analyser is reached, the heating check, the serial output.
#pragma once

#include <windows.h>

#include "core/program_state.h"

namespace nelto::ui {

/// Runs the dialog modally over `owner`. What is accepted goes to the state's settings and to the store; the worker takes
/// it up by itself. Dialog thread.
void RunSettingsDialog(HINSTANCE instance, HWND owner, ProgramState& state);

}  // namespace nelto::ui
