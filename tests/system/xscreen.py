"""The screen by the X server: windows, their order, their appearing and disappearing, and pictures.

Nothing here asks the program that made the windows.
"""

import struct
import zlib

import Xlib.display
import Xlib.error
from Xlib import X

from waiting import PATIENCE, wait_for

WHITE = (255, 255, 255)
DARK = 96  # each of red, green and blue below this


class Image:
    """Pixels as bytes, four for each: blue, green, red and one to ignore."""

    def __init__(self, width, height, pixels):
        self.width, self.height = width, height
        self._rows = [pixels[y * width * 4:(y + 1) * width * 4] for y in range(height)]

    def pixel(self, x, y):
        blue, green, red = self._rows[y][x * 4:x * 4 + 3]
        return red, green, blue

    def rectangle(self, left, top, right, bottom):
        """Every pixel of [left, right) and [top, bottom)."""
        return (self.pixel(x, y) for y in range(top, bottom) for x in range(left, right))

    def has_dark(self, left, top, right, bottom):
        return any(max(pixel) < DARK for pixel in self.rectangle(left, top, right, bottom))

    def is_white(self, left, top, right, bottom):
        return all(pixel == WHITE for pixel in self.rectangle(left, top, right, bottom))

    def is_filled(self, colour):
        """Whether every pixel has a colour given as 0xRRGGBB."""
        pixel = colour.to_bytes(3, "little")
        return all(self.row_text(y) == pixel * self.width for y in range(self.height))

    def place_of(self, other):
        """(x, y) of the first place where the other image's every pixel is found, or None."""
        probe = other.row_text(other.height // 2)
        for y in range(self.height - other.height + 1):
            x = -1
            row = self.row_text(y + other.height // 2)
            while (x := row.find(probe, x + 1)) >= 0:
                if x % 3 == 0 and all(self.row_text(y + i)[x:x + other.width * 3] == other.row_text(i)
                                      for i in range(other.height)):
                    return x // 3, y
        return None

    def row_text(self, y):
        """A row's pixels, three bytes each."""
        row = self._rows[y]
        text = bytearray(self.width * 3)
        for channel in range(3):
            text[channel::3] = row[channel::4]
        return bytes(text)

    def painted(self, left, top, right, bottom, colour=WHITE):
        """A copy with a rectangle of one colour."""
        red, green, blue = colour
        stripe = bytes((blue, green, red, 0)) * (right - left)
        rows = list(self._rows)
        for y in range(top, bottom):
            rows[y] = rows[y][:left * 4] + stripe + rows[y][right * 4:]
        return Image(self.width, self.height, b"".join(rows))

    def same_as(self, other):
        return (self.width, self.height) == (other.width, other.height) and all(
            self.row_text(y) == other.row_text(y) for y in range(self.height))

    def save_png(self, path):
        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
        rows = []
        for y in range(self.height):
            text = bytearray(self.row_text(y))
            text[0::3], text[2::3] = text[2::3], text[0::3]
            rows.append(b"\0" + bytes(text))
        path.write_bytes(b"\x89PNG\r\n\x1a\n" +
                         chunk(b"IHDR", struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)) +
                         chunk(b"IDAT", zlib.compress(b"".join(rows), 9)) + chunk(b"IEND", b""))


def read_bmp(path):
    """A Windows bitmap of 24 bits a pixel, rows bottom-up, as an Image."""
    data = path.read_bytes()
    offset, = struct.unpack_from("<I", data, 10)
    width, height = struct.unpack_from("<ii", data, 18)
    stride = (width * 3 + 3) // 4 * 4
    rows = []
    for y in reversed(range(height)):
        row = data[offset + y * stride:offset + y * stride + width * 3]
        padded = bytearray(width * 4)
        for channel in range(3):
            padded[channel::4] = row[channel::3]
        rows.append(bytes(padded))
    return Image(width, height, b"".join(rows))


class Screen:
    """A connection to the X display of this name."""

    COLOUR = 0x2060a0  # of the windows that are opened here

    def __init__(self, name):
        self.name = name
        self._display = Xlib.display.Display(name)
        self.root = self._display.screen().root
        self.width = self._display.screen().width_in_pixels
        self.height = self._display.screen().height_in_pixels

    def close(self):
        self._display.close()

    def _atom(self, name):
        return self._display.intern_atom(name)

    # What a desktop does to its screen

    def set_dots_per_inch(self, number):
        """As a desktop with a scale tells programs, in the X resources."""
        self.root.change_property(self._atom("RESOURCE_MANAGER"), self._atom("STRING"), 8,
                                  f"Xft.dpi:\t{number}\n".encode())
        self._display.sync()

    # Windows

    def _below(self, window):
        try:
            children = window.query_tree().children
        except Xlib.error.BadWindow:
            return
        for child in children:
            yield child
            yield from self._below(child)

    def find_window(self, pid):
        """The process's one visible window, or None."""
        found = []
        for window in self._below(self.root):
            try:
                owner = window.get_full_property(self._atom("_NET_WM_PID"), X.AnyPropertyType)
                if owner and owner.value[0] == pid and window.get_attributes().map_state == X.IsViewable:
                    found.append(window)
            except Xlib.error.BadWindow:
                continue
        assert len(found) <= 1, f"{len(found)} windows of one process are visible"
        return found[0] if found else None

    def wait_for_window(self, pid):
        return wait_for(lambda: self.find_window(pid), "the notice to be visible")

    def wait_for_no_window(self, pid):
        wait_for(lambda: not self.find_window(pid), "the notice to be hidden")

    def geometry(self, window):
        """(x, y, width, height) on the screen, without a border."""
        size = window.get_geometry()
        place = self.root.translate_coords(window, 0, 0)
        return place.x, place.y, size.width, size.height

    def frame(self, window):
        """(x, y, width, height) with all that a window manager has put around it."""
        top = self._top_level(window)
        size = top.get_geometry()
        return size.x, size.y, size.width + 2 * size.border_width, size.height + 2 * size.border_width

    def is_above(self, upper, lower):
        """Whether one window's frame is above another's in the server's order."""
        frames = [self._top_level(window).id for window in (upper, lower)]
        order = [window.id for window in self.root.query_tree().children]
        # A window manager may just be putting a window into its frame.
        return all(frame in order for frame in frames) and order.index(frames[0]) > order.index(frames[1])

    def _top_level(self, window):
        while (parent := window.query_tree().parent) != self.root:
            window = parent
        return window

    def open_window(self, x, y, width, height, full_screen=False):
        """A window of COLOUR, visible when this returns; a window manager is asked to let it fill the screen."""
        window = self.root.create_window(x, y, width, height, 0, X.CopyFromParent, background_pixel=self.COLOUR)
        window.set_wm_name("something else")
        if full_screen:
            window.change_property(self._atom("_NET_WM_STATE"), self._atom("ATOM"), 32,
                                   [self._atom("_NET_WM_STATE_FULLSCREEN")])

        def appears():
            # Asked for again and again: a window manager that has just started may overlook the first time.
            window.map()
            return window.get_attributes().map_state == X.IsViewable

        wait_for(appears, "a window to appear")
        return window

    def raise_window(self, window):
        window.configure(stack_mode=X.Above)
        self._display.sync()

    def wait_for_window_manager(self):
        """Returns when one has done with its start; the last it does then is to say where the user is."""
        name = self._atom("_NET_CURRENT_DESKTOP")
        wait_for(lambda: self.root.get_full_property(name, X.AnyPropertyType), "the window manager")

    def wait_until_managed(self, window):
        """Returns when the window manager has taken the window and told how wide its frame is."""
        for name in ("WM_STATE", "_NET_FRAME_EXTENTS"):
            wait_for(lambda: window.get_full_property(self._atom(name), X.AnyPropertyType), f"{name} of a window")

    # Coming and going

    def watch(self):
        """From now on `next_change` sees top-level windows appear and disappear."""
        self.root.change_attributes(event_mask=X.SubstructureNotifyMask)
        self._display.sync()

    def next_change(self, patience=PATIENCE):
        """"shown" or "hidden": what next happened to a top-level window."""
        return wait_for(self._take_change, "a window to be shown or hidden", patience)

    def _take_change(self):
        kinds = {X.MapNotify: "shown", X.UnmapNotify: "hidden"}
        while self._display.pending_events():
            event = self._display.next_event()
            # Only the server's own event: a program that hides a window sends a second one itself.
            if event.type in kinds and not event.send_event:
                return kinds[event.type]
        return None

    # Pictures

    def picture(self):
        """The whole screen, as it is seen."""
        data = self.root.get_image(0, 0, self.width, self.height, X.ZPixmap, 0xffffffff).data
        return Image(self.width, self.height, data)

    def picture_of(self, window):
        """A window as it is seen, with whatever covers it; it must be on the screen as a whole."""
        x, y, width, height = self.geometry(window)
        return Image(width, height, self.root.get_image(x, y, width, height, X.ZPixmap, 0xffffffff).data)
