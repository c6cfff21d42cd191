"""Keys of a real keyboard on an X display, sent with the XTEST extension: they go to the window with the display's focus."""

import ctypes
import ctypes.util


def xtest_path():
    """The XTEST library, or None."""
    return ctypes.util.find_library("Xtst")


class XKeys:
    def __init__(self, display_name):
        self._x11 = ctypes.CDLL(ctypes.util.find_library("X11"))
        self._xtst = ctypes.CDLL(xtest_path())
        self._x11.XOpenDisplay.restype = ctypes.c_void_p
        self._x11.XOpenDisplay.argtypes = [ctypes.c_char_p]
        self._x11.XStringToKeysym.restype = ctypes.c_ulong
        self._x11.XStringToKeysym.argtypes = [ctypes.c_char_p]
        self._x11.XKeysymToKeycode.restype = ctypes.c_ubyte
        self._x11.XKeysymToKeycode.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
        self._x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
        self._x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
        self._xtst.XTestFakeKeyEvent.argtypes = [ctypes.c_void_p, ctypes.c_uint, ctypes.c_int, ctypes.c_ulong]
        self._display = self._x11.XOpenDisplay(display_name.encode())
        if not self._display:
            raise OSError(f"the display {display_name} cannot be opened")

    def press(self, key):
        code = self._x11.XKeysymToKeycode(self._display, self._x11.XStringToKeysym(key.encode()))
        for is_down in (1, 0):
            self._xtst.XTestFakeKeyEvent(self._display, code, is_down, 0)
        self._x11.XSync(self._display, 0)

    def close(self):
        self._x11.XCloseDisplay(self._display)
