// Placeholder until the simulator lands.
