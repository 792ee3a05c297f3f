# Filled as products become installable.
