#pragma once

#include "History.h"

#include <string>

// Words for what an application has done instead of what was waited for. No secret is shown.

namespace CIM::sim
{
/// Which arguments of a call of the pattern's operation are others: "choice 9 instead of 2, another answer".
std::string WhatDiffers(const TCCallPattern& pattern, const TSMadeCall& call);

/// Of the calls from a number on, the last answer that the CAM did not take, in words; empty when there is none.
std::string LastRefused(const TCArrivals<TSMadeCall>& calls, std::uint64_t begin);

/// Of the calls from a number on, the one that comes nearest to what is waited for, in words; empty when none came.
std::string NearestTo(const TCCallPattern& pattern, const TCArrivals<TSMadeCall>& calls, std::uint64_t begin);
} // namespace CIM::sim
