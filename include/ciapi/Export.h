#pragma once

/// Marks what applications may call; every other symbol of the library is hidden.
#define CIAPI_EXPORT __attribute__((visibility("default")))
