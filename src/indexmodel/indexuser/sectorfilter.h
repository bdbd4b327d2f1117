#pragma once

#include "format/sectorfilter.h"
