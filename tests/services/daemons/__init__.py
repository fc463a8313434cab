"""The servers: one module a service, each with one class that starts the real daemon on its standard port."""
