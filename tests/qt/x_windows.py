# SPDX-License-Identifier: GPL-3.0-or-later
"""Where windows are on an X server, and what lies over what."""
import ctypes

Pointer, Number, Integer = ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int

# A window may go while it is looked at.
IGNORE = ctypes.CFUNCTYPE(Integer, Pointer, Pointer)(lambda *_: 0)


class XWindows:
    """Of the server with that name, from its first connection to `close`."""

    def __init__(self, display):
        self.x = ctypes.CDLL("libX11.so.6")
        self.x.XOpenDisplay.restype = Pointer
        self.x.XDefaultRootWindow.restype = self.x.XInternAtom.restype = Number
        self.x.XSetErrorHandler(IGNORE)
        self.display = Pointer(self.x.XOpenDisplay(display.encode()))
        self.root = Number(self.x.XDefaultRootWindow(self.display))

    def close(self):
        self.x.XCloseDisplay(self.display)

    def restore(self, window):
        """Asks the window manager that it is not maximized."""
        names = (b"_NET_WM_STATE", b"_NET_WM_STATE_MAXIMIZED_VERT", b"_NET_WM_STATE_MAXIMIZED_HORZ")
        state, high, wide = (self.x.XInternAtom(self.display, name, 0) for name in names)
        # In units of a long: type, serial, sent, display, window, message type, format, data.
        event = (Number * 24)(33, 0, 0, 0, window, state, 32, 0, high, wide, 1)
        self.x.XSendEvent(self.display, self.root, 0, ctypes.c_long(3 << 19), ctypes.byref(event))
        self.x.XFlush(self.display)

    def inside(self, window):
        """Left, top, width and height on the screen, without the frame."""
        left, top, child, root = Integer(), Integer(), Number(), Number()
        width, height = ctypes.c_uint(), ctypes.c_uint()
        self.x.XGetGeometry(self.display, Number(window), ctypes.byref(root), ctypes.byref(left),
                            ctypes.byref(top), ctypes.byref(width), ctypes.byref(height),
                            ctypes.byref(ctypes.c_uint()), ctypes.byref(ctypes.c_uint()))
        self.x.XTranslateCoordinates(self.display, Number(window), self.root, 0, 0,
                                     ctypes.byref(left), ctypes.byref(top), ctypes.byref(child))
        return left.value, top.value, width.value, height.value

    def _tree(self, window):
        """Parent and children, the one in front last."""
        root, parent, count = Number(), Number(), ctypes.c_uint()
        children = ctypes.POINTER(Number)()
        if not self.x.XQueryTree(self.display, Number(window), ctypes.byref(root),
                                 ctypes.byref(parent), ctypes.byref(children), ctypes.byref(count)):
            return 0, []
        found = [children[i] for i in range(count.value)]
        if children:
            self.x.XFree(children)
        return parent.value, found

    def outermost(self, window):
        """What the window lies in directly on the screen: its frame, or itself."""
        parent, _ = self._tree(window)
        while parent and parent != self.root.value:
            window = parent
            parent, _ = self._tree(window)
        return window

    def middle(self, window):
        """The centre of the window with its frame."""
        left, top, width, height = self.inside(self.outermost(window))
        return left + width // 2, top + height // 2

    def is_above(self, window, other):
        order = self._tree(self.root.value)[1]
        return order.index(self.outermost(window)) > order.index(self.outermost(other))
