#pragma once

// ToJson and FromJson for everything that crosses the bus.

#include "json/Forms.h"
#include "json/ValueForms.h"
