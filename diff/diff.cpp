// Binary differences.
