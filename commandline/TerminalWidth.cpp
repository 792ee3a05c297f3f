#include "TerminalWidth.h"

#include <sys/ioctl.h>

unsigned CIM::TerminalColumns(int descriptor)
{
    constexpr unsigned USUAL = 80;
    winsize size{};
    return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : USUAL;
}
