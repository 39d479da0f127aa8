// Build-time options of the daemon, in the manner of small embedded daemons: each is a
// default here that an integrator overrides with a compiler definition of the same
// name (or the CMake cache entry that sets it). Every option is off by default, and
// with every option off the daemon behaves exactly as its protocol describes; each
// option, turned on, is a deliberate deviation for safety.
#ifndef CAMRCD_CONTROL_BUILD_OPTIONS_H_
#define CAMRCD_CONTROL_BUILD_OPTIONS_H_

// Seconds from the greeting to a proved login. A connection that has not logged in by
// then is closed and its user slot given back, so idle connections cannot hold the
// five slots for ever. 0: no deadline.
#ifndef CAMRCD_LOGIN_DEADLINE_SECONDS
#define CAMRCD_LOGIN_DEADLINE_SECONDS 0
#endif

// TCP keepalive on client connections: seconds of silence before the first probe. A
// peer that has vanished is then found out and its connection ended. 0: off.
#ifndef CAMRCD_KEEPALIVE_IDLE_SECONDS
#define CAMRCD_KEEPALIVE_IDLE_SECONDS 0
#endif

// Seconds between keepalive probes, and unanswered probes before the connection ends.
#ifndef CAMRCD_KEEPALIVE_INTERVAL_SECONDS
#define CAMRCD_KEEPALIVE_INTERVAL_SECONDS 10
#endif
#ifndef CAMRCD_KEEPALIVE_PROBES
#define CAMRCD_KEEPALIVE_PROBES 3
#endif

namespace camrcd {

inline constexpr int kLoginDeadlineSeconds = CAMRCD_LOGIN_DEADLINE_SECONDS;
inline constexpr int kKeepaliveIdleSeconds = CAMRCD_KEEPALIVE_IDLE_SECONDS;
inline constexpr int kKeepaliveIntervalSeconds = CAMRCD_KEEPALIVE_INTERVAL_SECONDS;
inline constexpr int kKeepaliveProbes = CAMRCD_KEEPALIVE_PROBES;

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_BUILD_OPTIONS_H_
