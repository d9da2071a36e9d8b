// Placeholder until the fixtures land.
