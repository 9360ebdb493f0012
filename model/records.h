#pragma once

// All records of the 4.5 model.
#include "model/records_clients.h"
#include "model/records_logical.h"
#include "model/records_physical.h"
