"""NFS clients over libnfs, since the kernel's own may not be mounted from here."""

import ctypes
import ctypes.util


class Nfs:
    """An NFS version 4 mount of the server's /nfs."""

    def __init__(self, address, client_name=None):
        self._library = ctypes.CDLL(ctypes.util.find_library("nfs"))
        self._library.nfs_init_context.restype = ctypes.c_void_p
        self._library.nfs_get_error.restype = ctypes.c_char_p
        self._context = ctypes.c_void_p(self._library.nfs_init_context())
        self._check(self._library.nfs_set_version(self._context, 4))
        if client_name:
            self._library.nfs4_set_client_name(self._context, client_name)
        self._check(self._library.nfs_mount(self._context, address.encode(), b"/nfs"))

    def close(self):
        self._library.nfs_destroy_context(self._context)

    def _check(self, result):
        if result != 0:
            raise AssertionError(f"libnfs: {self._library.nfs_get_error(self._context)}")
