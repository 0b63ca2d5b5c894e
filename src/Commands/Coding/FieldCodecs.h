// All codecs of field types. A new one is included here and nowhere else.
#pragma once

#include "Commands/Coding/ColorCodecs.h"
#include "Commands/Coding/GeometryCodecs.h"
#include "Commands/Coding/GridCodec.h"
#include "Commands/Coding/LayerCodecs.h"
#include "Commands/Coding/RecordCodec.h"
#include "Commands/Coding/ScalarCodecs.h"
#include "Commands/Coding/StoredCodecs.h"
