#pragma once
// Serial port numbers of the options as device paths. The "CommPorts" section of the options file may
// name the device of a port number ("Port3=/dev/ttyUSB0", any path, a pseudo-terminal too); a number
// without an entry is the PC's own port, /dev/ttyS0 for port 1 and so on. The map has a section of its
// own because saving the communications dialog rewrites the whole "Comm" section.

#include <string>

namespace zel::platform {

std::string serialDevicePath(int port, const std::string& optionsPath);

} // namespace zel::platform
