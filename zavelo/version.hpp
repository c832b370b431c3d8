#pragma once

#include "zavelo/core/version.hpp"
