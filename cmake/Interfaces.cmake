# The two UDisks 1 interfaces are written down once, in drives/interfaces. The service's proxies and the
# provider's adaptors are both generated from there.
set(UDISKS_INTERFACES ${PROJECT_SOURCE_DIR}/drives/interfaces)
