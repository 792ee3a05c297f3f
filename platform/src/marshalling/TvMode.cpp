#include <tvplatform/Formatter.h>
#include <tvplatform/Types.h>

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
