#pragma once

// Ports and waits of the device's message protocol.
namespace DeviceProtocol {

// The device's TCP ports, named by their LAN number.
enum Port {
    PORT_BASE = 3001,     // default base; rebinding after an account change
    PORT_UPLOAD = 3002,   // fax file upload
    PORT_FIRMWARE = 3006, // firmware upload
    PORT_COMMAND = 3007,  // commands, queries, downloads
};

// The port to use on the internet address: 3002 -> base + 1, 3007 -> base + 6, others the base.
int internetPort(int lanPort, int internetBase);

// Waits in milliseconds, as the device expects them.
inline constexpr int CONNECT_TIMEOUT_MS = 3000;
inline constexpr int GREETING_TIMEOUT_MS = 15000;
inline constexpr int REPLY_TIMEOUT_MS = 30000;
// A reply has no end mark: once it holds a whole tag, this long without a further byte ends it.
inline constexpr int REPLY_QUIET_MS = 150;

// The waits to use. Production always gets the values above; tests may divide them through
// the one test-only setting below so that a silent device costs them little time.
int connectTimeout();
int greetingTimeout();
int replyTimeout();
// Scales any wait the same way (for waits that belong to a single operation).
int scaled(int milliseconds);

// Test-only: every wait becomes its production value divided by this (1 restores them).
void setTestTimeoutDivisor(int divisor);
int testTimeoutDivisor();

} // namespace DeviceProtocol
