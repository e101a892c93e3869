// The text encoders.
