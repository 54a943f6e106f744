#pragma once

#include "lower/Second.h"
