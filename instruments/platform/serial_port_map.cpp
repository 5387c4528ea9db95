#include "instruments/platform/serial_port_map.h"

#include "settings/ini_file.h"

namespace zel::platform {

std::string serialDevicePath(int port, const std::string& optionsPath) {
    if (!optionsPath.empty()) {
        cInifile ini;
        ini.Path = optionsPath;
        ini.Section = "CommPorts";
        ini.Key = "Port" + std::to_string(port);
        const std::string path = ini.Value();
        if (!path.empty()) return path;
    }
    return "/dev/ttyS" + std::to_string(port > 0 ? port - 1 : 0);
}

} // namespace zel::platform
