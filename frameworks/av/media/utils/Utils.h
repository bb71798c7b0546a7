// SPDX-License-Identifier: Apache-2.0
#pragma once

// The one door to the media utilities that the library exports: every component of the media stack includes
// this header and links the library. The topics are a header each; all names are in namespace android.

#include "ByteOrder.h"
#include "CodecRegistry.h"
#include "Diagnostics.h"
#include "EsDescriptor.h"
#include "H264Payload.h"
#include "HLSTime.h"
#include "HevcConfiguration.h"
#include "M4vExtraData.h"
#include "MimeTypes.h"
#include "PlaneCopier.h"
#include "TrackFormatKeys.h"
