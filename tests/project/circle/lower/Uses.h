#pragma once

#include "lower/First.h"
