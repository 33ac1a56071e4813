// The application's port, as the component uses it.

#pragma once

/// The port that the component connects to for `port`, from 10000 to 65534.
int utMappedPort(int port);

/// Connects to `port`, as it is, of this machine and sends nothing. Returns 0
/// or the errno value of the failure.
int utProbePort(int port);
