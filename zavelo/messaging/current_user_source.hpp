#pragma once

#include "zavelo/models/current_user_source.hpp"
