#pragma once
// The receiver's last fix as the log's GPS section takes it when a push ends: the same for every program that
// records a push.

#include "instruments/gps/gps.h"
#include "log/log_sources.h"

namespace zel::program {

GpsFix GpsFixOf(const cZEL_GPS& gps);

} // namespace zel::program
