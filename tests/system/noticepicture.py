"""The content that a picture of the notice must have."""

import pathlib

from xscreen import read_bmp

HAND = read_bmp(pathlib.Path(__file__).resolve().parents[2] / "images" / "hand-icon.bmp")
FRAME = 2
# Pixels between the columns at the least. Letters of a word stand closer together.
NARROWEST_GAP = 4


def text_lines(picture, area):
    """(top, bottom) of each line of text in an area (left, top, right, bottom)."""
    left, top, right, bottom = area
    lines, start = [], None
    for y in range(top, bottom + 1):
        inked = y < bottom and picture.has_dark(left, y, right, y + 1)
        if inked and start is None:
            start = y
        elif not inked and start is not None:
            lines.append((start, y))
            start = None
    return lines


def ink(picture, line, left, right):
    """(left, right) of the text in a part of a line, or None."""
    top, bottom = line
    inked = [x for x in range(left, right) if picture.has_dark(x, top, x + 1, bottom)]
    return (inked[0], inked[-1] + 1) if inked else None


def value_column(picture, lines, left, right):
    """Where the second of two columns begins: after the last gap that goes through both lines."""
    last = start = None
    for x in range(left, right):
        if any(picture.has_dark(x, top, x + 1, bottom) for top, bottom in lines):
            if last is not None and x - last > NARROWEST_GAP:
                start = x
            last = x
    return start


def text_area(picture, hand):
    """Where the texts are: beside the hand in the landscape form, below it in the portrait one."""
    x, y = hand
    if picture.width > picture.height * 2:
        return x + HAND.width, FRAME, picture.width - FRAME, picture.height - FRAME
    return FRAME, y + HAND.height, picture.width - FRAME, picture.height - FRAME


class Notice:
    """The parts of a notice, by their places (left, top, right, bottom) in a picture of it."""

    def __init__(self, hand, **texts):
        self.parts = {"hand": hand, **texts}


def read_notice(picture):
    """The notice in a picture, in which all of it must be seen: the hand pixel by pixel, and the texts where they
    belong. AssertionError says what is missing."""
    hand = picture.place_of(HAND)
    assert hand is not None, "the hand is missing"
    return read_texts(picture, hand)


def read_texts(picture, hand):
    """The same for a picture in which the hand may be hidden; it belongs at `hand`."""
    check_frame(picture)
    left, top, right, bottom = text_area(picture, hand)
    lines = text_lines(picture, (left, top, right, bottom))
    assert len(lines) == 3, f"{len(lines)} lines of text instead of title, device and address: {lines}"
    column = value_column(picture, lines[1:], left, right)
    assert column is not None, "captions or values are missing"
    places = {"title": (lines[0], left, right)}
    for name, line in (("device", lines[1]), ("address", lines[2])):
        places[name + " caption"] = line, left, column
        places[name] = line, column, right
    texts = {}
    for name, (line, start, end) in places.items():
        written = ink(picture, line, start, end)
        assert written, f"the {name} is missing"
        texts[name] = written[0], line[0], written[1], line[1]
    assert abs(texts["device"][0] - texts["address"][0]) < NARROWEST_GAP, f"the values are not in line: {texts}"
    return Notice((*hand, hand[0] + HAND.width, hand[1] + HAND.height), **texts)


def check_frame(picture):
    """A dark line, two pixels wide, all around."""
    width, height = picture.width, picture.height
    for area in ((0, 0, width, FRAME), (0, height - FRAME, width, height), (0, 0, FRAME, height),
                 (width - FRAME, 0, width, height)):
        assert all(max(pixel) < 64 for pixel in picture.rectangle(*area)), f"no frame in {area}"
    assert picture.is_white(FRAME, FRAME, width - FRAME, FRAME + 2), "the frame is wider than it should be"
