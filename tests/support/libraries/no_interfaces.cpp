// Loads, and offers nothing of what a watcher looks for.
