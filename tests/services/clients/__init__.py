"""The clients: one module a protocol; each object stays connected until close()."""
