# The two UDisks 1 interfaces are written down once, in drives/interfaces: the service's proxies are generated from
# there, and the provider reads the same files when it runs.
set(UDISKS_INTERFACES ${PROJECT_SOURCE_DIR}/drives/interfaces)
