#pragma once

// Everything of the codec in one include.

#include "codec/calibration_dump.h"
#include "codec/console.h"
#include "codec/frame_names.h"
#include "codec/frame_reader.h"
#include "codec/frame_writer.h"
#include "codec/liblinjpeg.h"
#include "codec/number_text.h"
#include "codec/numeric.h"
#include "codec/ppm_file.h"
#include "codec/reconstruction_check.h"
#include "codec/run_length.h"
#include "codec/timestamps.h"
#include "codec/typed_buffers.h"
#include "codec/working_record.h"
