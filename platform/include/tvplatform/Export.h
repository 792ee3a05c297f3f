#pragma once

/// Marks what the platform library offers to its users; everything else in it is hidden.
#define TVPLATFORM_EXPORT __attribute__((visibility("default")))
