// The simulated analyser behind a serial line of 19200 baud, for a program that is measured from outside: the first line
// of its output is the tty, and it ends with its input.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "analyser_thread.h"
#include "figures.h"
#include "paced_link.h"

int main() {
    using namespace nelto::bench;
    PacedLink link(19200, 8);
    if (!link.IsOpen()) return CannotMeasure("no pseudo terminals");
    std::string error;
    const auto scenario = LoadFortyChannels(error);
    if (!scenario) return CannotMeasure(error.c_str());
    const AnalyserThread analyser(*scenario, link.far_path());
    if (!analyser.IsOpen()) return CannotMeasure("no far end");
    std::printf("%s\n", link.near_path().c_str());
    std::fflush(stdout);
    char byte = 0;
    while (read(STDIN_FILENO, &byte, 1) > 0) {}
    return 0;
}
