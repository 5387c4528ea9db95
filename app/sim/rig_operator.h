#pragma once
// The rig's operator, told what to do by the program that drives the simulated rig: on the real rig a
// prompt asks the crew to do it by hand. One line a request on a local TCP port, answered "ok" or
// "error: ...":
//   "tube FT"   the probe (at the surface) goes in the water tube with its pressure port FT feet under
//               water, for the hydraulic reference tests; "tube out" takes it out.

#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <string>

namespace zel::sim {

class RigOperator {
public:
    std::function<void(double feetUnderWater)> placeInTube;

    bool listen(const QString& host, std::string& error);
    int port() const { return server_.serverPort(); }
    // One request's answer (without the line end).
    std::string request(const std::string& line);

private:
    void accept();
    QTcpServer server_;
};

} // namespace zel::sim
