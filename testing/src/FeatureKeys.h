#pragma once

#include <ciapi-testing/Daemon.h>

#include "privatebus/BusFolder.h"

namespace CIM::test
{
/// The keys of a set with CI, but for those that the test gives.
inline std::map<std::string, std::string> FeatureKeys(const TSOptions& options, int slots)
{
    std::map<std::string, std::string> keys = options.featureKeys;
    keys.merge(privatebus::DefaultFeatureKeys(slots));
    return keys;
}
} // namespace CIM::test
