// The program's one window: shows what the worker finds, takes what the technician types, hands both on.
#pragma once

#include <windows.h>

#include "core/instrument.h"
#include "core/program_state.h"

namespace nelto::ui {

/// Runs the dialog and, while it is open, the acquisition worker on a thread of its own; returns when both have ended.
/// Accepting the dialog writes the exchange file. `open` is called on the worker's thread.
void RunMainDialog(HINSTANCE instance, ProgramState& state, OpenInstrument open);

}  // namespace nelto::ui
