// The serialisation buffer.
