#include <tvplatform/Types.h>

#include <tuple>

bool operator==(const TSTvMode& a, const TSTvMode& b)
{
    return a.antennaMode == b.antennaMode && a.serviceMode == b.serviceMode;
}

bool operator!=(const TSTvMode& a, const TSTvMode& b) { return !(a == b); }

bool operator<(const TSTvMode& a, const TSTvMode& b)
{
    return std::tie(a.antennaMode, a.serviceMode) < std::tie(b.antennaMode, b.serviceMode);
}
