// Versioned element files.
