// Loads, and offers nothing of what its users look for.
