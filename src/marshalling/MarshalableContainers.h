#pragma once

// The adapters that make the caller's containers and strings marshalable, with the node creators of their elements.

#include "marshalling/MarshalableMapContainer.h"
#include "marshalling/MarshalableNodeCreator.h"
#include "marshalling/MarshalableOneDimensionContainer.h"
#include "marshalling/MarshalableSetContainer.h"
#include "marshalling/MarshalableString.h"
#include "marshalling/MarshalableWString.h"
