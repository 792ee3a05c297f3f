#pragma once

#define CIAPI_TESTING_EXPORT __attribute__((visibility("default")))
