#pragma once

#include "upper/Upper.h"
