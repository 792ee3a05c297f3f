#include <tvplatform/Formatter.h>
#include <tvplatform/Types.h>

#include <tuple>

bool TSTvMode::ClassToTree(TCTreeBranch& branch)
{
    TCClassToTreeFormatter formatter(branch);
    formatter.PushValue(0, sizeof(antennaMode), &antennaMode);
    formatter.PushValue(1, sizeof(serviceMode), &serviceMode);
    return formatter.Extract();
}

bool TSTvMode::TreeToClass(TCTreeBranch& branch)
{
    TCTreeToClassFormatter formatter(branch);
    formatter.PushValue(0, sizeof(antennaMode), &antennaMode);
    formatter.PushValue(1, sizeof(serviceMode), &serviceMode);
    return formatter.FillOut();
}

bool operator==(const TSTvMode& a, const TSTvMode& b)
{
    return a.antennaMode == b.antennaMode && a.serviceMode == b.serviceMode;
}

bool operator!=(const TSTvMode& a, const TSTvMode& b) { return !(a == b); }

bool operator<(const TSTvMode& a, const TSTvMode& b)
{
    return std::tie(a.antennaMode, a.serviceMode) < std::tie(b.antennaMode, b.serviceMode);
}
