// The ciphers.
