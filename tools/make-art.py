#!/usr/bin/env python3
"""Draws every icon and bitmap of Vexlon Inspector into res/art/.

Pure standard library and deterministic: the same script always writes the
same bytes, so the generated files are committed and a build never needs
Python. Run it from anywhere:  python3 tools/make-art.py [--out DIR]
(--out writes somewhere else, e.g. to check that res/art/ is up to date).

Each picture is drawn with a few filled shapes (circles, rings, polygons,
rounded rectangles, thick lines) on a supersampled canvas and then averaged
down, which gives anti-aliased edges without any imaging library. Shapes are
described in "design units" on a 16 x 16 grid and scaled to the target size;
outlines are given in real pixels so they stay crisp at every size.
"""

import colorsys
import math
import os
import struct
import sys

# ---------------------------------------------------------------------------
# Shapes: every shape answers "is this point inside?" and knows its bounds.


class Shape:
    def bbox(self):
        raise NotImplementedError

    def inside(self, x, y):
        raise NotImplementedError

    def inset(self, d):
        raise NotImplementedError(type(self).__name__ + " cannot be inset")


class Rect(Shape):
    def __init__(self, x0, y0, x1, y1):
        self.x0, self.y0, self.x1, self.y1 = x0, y0, x1, y1

    def bbox(self):
        return self.x0, self.y0, self.x1, self.y1

    def inside(self, x, y):
        return self.x0 <= x < self.x1 and self.y0 <= y < self.y1

    def inset(self, d):
        return Rect(self.x0 + d, self.y0 + d, self.x1 - d, self.y1 - d)


class RRect(Shape):
    def __init__(self, x0, y0, x1, y1, r):
        self.x0, self.y0, self.x1, self.y1 = x0, y0, x1, y1
        self.r = max(0.0, min(r, (x1 - x0) / 2, (y1 - y0) / 2))

    def bbox(self):
        return self.x0, self.y0, self.x1, self.y1

    def inside(self, x, y):
        if not (self.x0 <= x < self.x1 and self.y0 <= y < self.y1):
            return False
        r = self.r
        cx = min(max(x, self.x0 + r), self.x1 - r)
        cy = min(max(y, self.y0 + r), self.y1 - r)
        return (x - cx) ** 2 + (y - cy) ** 2 <= r * r

    def inset(self, d):
        return RRect(self.x0 + d, self.y0 + d, self.x1 - d, self.y1 - d,
                     max(0.0, self.r - d))


class Circle(Shape):
    def __init__(self, cx, cy, r):
        self.cx, self.cy, self.r = cx, cy, r

    def bbox(self):
        return (self.cx - self.r, self.cy - self.r,
                self.cx + self.r, self.cy + self.r)

    def inside(self, x, y):
        return (x - self.cx) ** 2 + (y - self.cy) ** 2 <= self.r * self.r

    def inset(self, d):
        return Circle(self.cx, self.cy, self.r - d)


class Ellipse(Shape):
    def __init__(self, cx, cy, rx, ry):
        self.cx, self.cy, self.rx, self.ry = cx, cy, rx, ry

    def bbox(self):
        return (self.cx - self.rx, self.cy - self.ry,
                self.cx + self.rx, self.cy + self.ry)

    def inside(self, x, y):
        return (((x - self.cx) / self.rx) ** 2 +
                ((y - self.cy) / self.ry) ** 2) <= 1.0

    def inset(self, d):
        return Ellipse(self.cx, self.cy, self.rx - d, self.ry - d)


class Poly(Shape):
    """A simple polygon, filled by the even-odd rule."""

    def __init__(self, pts):
        self.pts = [(float(a), float(b)) for a, b in pts]

    def bbox(self):
        xs = [p[0] for p in self.pts]
        ys = [p[1] for p in self.pts]
        return min(xs), min(ys), max(xs), max(ys)

    def inside(self, x, y):
        pts = self.pts
        n = len(pts)
        hit = False
        j = n - 1
        for i in range(n):
            xi, yi = pts[i]
            xj, yj = pts[j]
            if (yi > y) != (yj > y):
                xc = xi + (y - yi) * (xj - xi) / (yj - yi)
                if x < xc:
                    hit = not hit
            j = i
        return hit

    def inset(self, d):
        # Move every edge inwards by d and intersect neighbouring edges
        # (mitred corners); good enough for the plain outlines drawn here.
        pts = self.pts
        n = len(pts)
        area = sum(pts[i][0] * pts[(i + 1) % n][1] -
                   pts[(i + 1) % n][0] * pts[i][1] for i in range(n))
        sign = 1.0 if area > 0 else -1.0
        lines = []
        for i in range(n):
            (x0, y0), (x1, y1) = pts[i], pts[(i + 1) % n]
            ex, ey = x1 - x0, y1 - y0
            length = math.hypot(ex, ey) or 1.0
            # Inward normal for the polygon's winding (y grows downwards).
            nx, ny = -ey / length * sign, ex / length * sign
            lines.append(((x0 + nx * d, y0 + ny * d), (ex, ey)))
        out = []
        for i in range(n):
            (p, r) = lines[i - 1]
            (q, s) = lines[i]
            cross = r[0] * s[1] - r[1] * s[0]
            if abs(cross) < 1e-9:
                out.append(q)
                continue
            t = ((q[0] - p[0]) * s[1] - (q[1] - p[1]) * s[0]) / cross
            out.append((p[0] + t * r[0], p[1] + t * r[1]))
        return Poly(out)


class Capsule(Shape):
    """A thick line with round ends."""

    def __init__(self, x0, y0, x1, y1, w):
        self.x0, self.y0, self.x1, self.y1, self.w = x0, y0, x1, y1, w

    def bbox(self):
        h = self.w / 2
        return (min(self.x0, self.x1) - h, min(self.y0, self.y1) - h,
                max(self.x0, self.x1) + h, max(self.y0, self.y1) + h)

    def inside(self, x, y):
        dx, dy = self.x1 - self.x0, self.y1 - self.y0
        ll = dx * dx + dy * dy
        t = 0.0 if ll == 0 else ((x - self.x0) * dx + (y - self.y0) * dy) / ll
        t = min(1.0, max(0.0, t))
        px, py = self.x0 + t * dx, self.y0 + t * dy
        return (x - px) ** 2 + (y - py) ** 2 <= (self.w / 2) ** 2

    def inset(self, d):
        return Capsule(self.x0, self.y0, self.x1, self.y1, self.w - 2 * d)


class Arc(Shape):
    """Part of a ring; angles in degrees, counter-clockwise from 3 o'clock."""

    def __init__(self, cx, cy, r0, r1, a0, a1):
        self.cx, self.cy, self.r0, self.r1 = cx, cy, r0, r1
        self.a0, self.a1 = a0 % 360.0, a1 % 360.0
        if self.a1 <= self.a0:
            self.a1 += 360.0

    def bbox(self):
        return (self.cx - self.r1, self.cy - self.r1,
                self.cx + self.r1, self.cy + self.r1)

    def inside(self, x, y):
        dx, dy = x - self.cx, y - self.cy
        d2 = dx * dx + dy * dy
        if d2 < self.r0 * self.r0 or d2 > self.r1 * self.r1:
            return False
        a = math.degrees(math.atan2(-dy, dx)) % 360.0
        if a < self.a0:
            a += 360.0
        return a <= self.a1


# ---------------------------------------------------------------------------
# Paints: a colour is (r, g, b) or (r, g, b, alpha 0..1); a paint may also be
# a function of the design-unit position.


def lerp(a, b, t):
    return a + (b - a) * t


def mix(c0, c1, t):
    t = min(1.0, max(0.0, t))
    return tuple(lerp(a, b, t) for a, b in zip(c0, c1))


def vgrad(y0, c0, y1, c1):
    def paint(x, y):
        return mix(c0, c1, (y - y0) / (y1 - y0))
    return paint


def dgrad(x0, y0, c0, x1, y1, c1):
    dx, dy = x1 - x0, y1 - y0
    ll = dx * dx + dy * dy

    def paint(x, y):
        return mix(c0, c1, ((x - x0) * dx + (y - y0) * dy) / ll)
    return paint


def rgrad(cx, cy, r, c0, c1):
    def paint(x, y):
        return mix(c0, c1, math.hypot(x - cx, y - cy) / r)
    return paint


# ---------------------------------------------------------------------------
# Canvas


class Canvas:
    def __init__(self, size, ss=5, w=None, h=None):
        self.w = w if w is not None else size
        self.h = h if h is not None else size
        self.k = size / 16.0          # pixels per design unit
        self.ss = ss
        self.W, self.H = self.w * ss, self.h * ss
        # Premultiplied RGBA, one entry per subsample.
        self.buf = [0.0] * (self.W * self.H * 4)

    def px(self, n):
        """n real pixels expressed in design units."""
        return n / self.k

    def draw(self, shape, paint, clear=False):
        x0, y0, x1, y1 = shape.bbox()
        k, ss = self.k, self.ss
        sx0 = max(0, int(math.floor(x0 * k * ss)) - 1)
        sy0 = max(0, int(math.floor(y0 * k * ss)) - 1)
        sx1 = min(self.W, int(math.ceil(x1 * k * ss)) + 1)
        sy1 = min(self.H, int(math.ceil(y1 * k * ss)) + 1)
        inv = 1.0 / (k * ss)
        buf = self.buf
        solid = None if callable(paint) else paint
        for sy in range(sy0, sy1):
            y = (sy + 0.5) * inv
            row = sy * self.W
            for sx in range(sx0, sx1):
                x = (sx + 0.5) * inv
                if not shape.inside(x, y):
                    continue
                i = (row + sx) * 4
                if clear:
                    buf[i] = buf[i + 1] = buf[i + 2] = buf[i + 3] = 0.0
                    continue
                c = solid if solid is not None else paint(x, y)
                a = c[3] if len(c) > 3 else 1.0
                r, g, b = c[0] / 255.0 * a, c[1] / 255.0 * a, c[2] / 255.0 * a
                na = 1.0 - a
                buf[i] = r + buf[i] * na
                buf[i + 1] = g + buf[i + 1] * na
                buf[i + 2] = b + buf[i + 2] * na
                buf[i + 3] = a + buf[i + 3] * na

    def outlined(self, shape, fill, line, width=None):
        """Fills a shape and gives it an inner outline of `width` pixels."""
        if width is None:
            width = outline_px(self)
        self.draw(shape, line)
        self.draw(shape.inset(self.px(width)), fill)

    def pixels(self):
        """Averages the subsamples: rows of (r, g, b, a) in 0..255."""
        ss, W, buf = self.ss, self.W, self.buf
        n = float(ss * ss)
        out = []
        for y in range(self.h):
            row = []
            for x in range(self.w):
                r = g = b = a = 0.0
                for j in range(ss):
                    base = ((y * ss + j) * W + x * ss) * 4
                    for i in range(base, base + ss * 4, 4):
                        r += buf[i]
                        g += buf[i + 1]
                        b += buf[i + 2]
                        a += buf[i + 3]
                a /= n
                if a <= 0.0:
                    row.append((0, 0, 0, 0))
                    continue
                row.append((clamp8(r / n / a * 255.0), clamp8(g / n / a * 255.0),
                            clamp8(b / n / a * 255.0), clamp8(a * 255.0)))
            out.append(row)
        return out


def clamp8(v):
    return max(0, min(255, int(round(v))))


def outline_px(c):
    return 1.0 if c.k <= 2.0 else 1.5


# ---------------------------------------------------------------------------
# Palette

DISC_RIM = (112, 118, 130)
FOLDER_LINE = (150, 104, 22)
FOLDER_BACK = (224, 168, 48)
FOLDER_FRONT_TOP = (255, 226, 122)
FOLDER_FRONT_BOTTOM = (246, 190, 64)
BLUE_LINE = (28, 64, 140)
GREEN = (44, 160, 60)
GREEN_DARK = (24, 110, 40)


# ---------------------------------------------------------------------------
# Pictures. Each takes a canvas and draws on the 16 x 16 design grid.


def disc_paint(cx, cy, r, tint=0.55):
    """Silver with a soft rainbow sheen that turns with the angle."""
    def paint(x, y):
        dx, dy = x - cx, y - cy
        a = math.atan2(dy, dx)
        d = math.hypot(dx, dy) / r
        base = mix((232, 236, 242), (192, 198, 210), d)
        sheen = max(0.0, math.cos(2.0 * (a + 0.75))) ** 2
        hue = ((a / math.pi) + d * 0.35) % 1.0
        rainbow = tuple(v * 255.0 for v in colorsys.hsv_to_rgb(hue, 0.55, 1.0))
        c = mix(base, rainbow, tint * sheen)
        glint = max(0.0, math.cos(2.0 * (a - 0.6))) ** 8
        return mix(c, (255, 255, 255), 0.6 * glint)
    return paint


def draw_disc(c, cx, cy, r, tint=0.55, hole_scale=1.0):
    """An optical disc: rim, silvered data area, clear hub and a real hole."""
    ow = outline_px(c)
    c.draw(Circle(cx, cy, r), DISC_RIM)
    c.draw(Circle(cx, cy, r - c.px(ow)), disc_paint(cx, cy, r, tint))
    hub = r * 0.40
    hole = max(r * 0.17, c.px(1.0)) * hole_scale
    c.draw(Circle(cx, cy, hub), (150, 156, 168))
    c.draw(Circle(cx, cy, hub - c.px(ow)), (236, 240, 246))
    c.draw(Circle(cx, cy, hole + c.px(ow)), (130, 136, 148))
    c.draw(Circle(cx, cy, hole), None, clear=True)


def draw_magnifier(c, cx, cy, r, angle=-45.0, handle=None):
    ow = outline_px(c)
    a = math.radians(angle)
    hl = handle if handle is not None else r * 1.25
    hx0, hy0 = cx + math.cos(a) * r * 0.9, cy - math.sin(a) * r * 0.9
    hx1, hy1 = cx + math.cos(a) * (r + hl), cy - math.sin(a) * (r + hl)
    if c.k < 2:
        # Too small for a bevelled rim: a dark ring round light glass.
        c.draw(Capsule(hx0, hy0, hx1, hy1, 2.0), (96, 56, 24))
        c.draw(Circle(cx, cy, r), (40, 44, 56))
        c.draw(Circle(cx, cy, r - 1), dgrad(cx - r, cy - r, (236, 248, 255),
                                            cx + r, cy + r, (140, 190, 236)))
        return
    hw = max(r * 0.55, c.px(2.0))
    c.draw(Capsule(hx0, hy0, hx1, hy1, hw + c.px(2 * ow)), (40, 34, 30))
    c.draw(Capsule(hx0, hy0, hx1, hy1, hw), dgrad(hx0, hy0 - hw, (150, 96, 48),
                                                  hx0, hy0 + hw, (96, 56, 24)))
    rim = max(r * 0.28, c.px(1.5))
    c.draw(Circle(cx, cy, r + c.px(ow)), (40, 44, 56))
    c.draw(Circle(cx, cy, r), dgrad(cx - r, cy - r, (214, 220, 232),
                                    cx + r, cy + r, (118, 126, 144)))
    c.draw(Circle(cx, cy, r - rim), (40, 44, 56))
    glass = r - rim - c.px(ow)
    c.draw(Circle(cx, cy, glass), dgrad(cx - glass, cy - glass, (226, 244, 255, 0.92),
                                        cx + glass, cy + glass, (120, 178, 230, 0.80)))
    c.draw(Arc(cx, cy, glass * 0.55, glass * 0.78, 100, 170), (255, 255, 255, 0.85))


def pic_app(c):
    if c.k < 2:
        draw_disc(c, 6.5, 6.5, 6.5, hole_scale=0.9)
        draw_magnifier(c, 11.0, 11.0, 3.5, handle=2.0)
    else:
        draw_disc(c, 7.2, 7.2, 7.0)
        draw_magnifier(c, 10.4, 10.4, 3.2, handle=2.6)


def folder_back(c, dark=False):
    back = Poly([(0.5, 2), (6, 2), (7.5, 3.5), (15.5, 3.5), (15.5, 14), (0.5, 14)])
    c.outlined(back, (204, 148, 36) if dark else FOLDER_BACK, FOLDER_LINE)


def pic_folder(c):
    folder_back(c)
    front = RRect(0.5, 5.5, 15.5, 14, c.px(1))
    c.outlined(front, vgrad(5.5, FOLDER_FRONT_TOP, 14, FOLDER_FRONT_BOTTOM), FOLDER_LINE)
    if c.k >= 2:
        ow = c.px(outline_px(c))
        c.draw(Rect(0.5 + ow, 5.5 + ow, 15.5 - ow, 5.5 + ow + c.px(1)), (255, 244, 196))


def pic_folder_open(c):
    folder_back(c, dark=True)
    paper = Rect(2.5, 4.5, 13.5, 11)
    c.outlined(paper, (252, 252, 250), (150, 150, 150))
    if c.k >= 2:
        for y in (6.5, 8.0):
            c.draw(Rect(4, y, 12, y + c.px(1)), (190, 196, 206))
    front = Poly([(3.5, 7), (16, 7), (13, 14), (0.5, 14)])
    c.outlined(front, vgrad(7, FOLDER_FRONT_TOP, 14, FOLDER_FRONT_BOTTOM), FOLDER_LINE)


def draw_drive_body(c, y0, y1, with_disc_logo=False):
    body = RRect(0.5, y0, 15.5, y1, c.px(1.5))
    c.outlined(body, vgrad(y0, (236, 238, 242), y1, (168, 172, 182)), (82, 86, 96))
    # The tray slot and the activity light.
    slot_y = y0 + (y1 - y0) * 0.38
    c.draw(Rect(2.5, slot_y, 11.5, slot_y + c.px(1)), (70, 74, 84))
    if c.k >= 2:
        c.draw(Rect(2.5, slot_y + c.px(1), 11.5, slot_y + c.px(2)), (252, 252, 252))
    led_y = y1 - (y1 - y0) * 0.38
    c.draw(Rect(12.5, led_y - c.px(1), 13.5 + c.px(1) * (c.k >= 2), led_y + c.px(1) * (c.k >= 2)),
           (40, 200, 70))


def pic_volume(c):
    draw_disc(c, 8, 7, 6.5, hole_scale=0.9)
    draw_drive_body(c, 9, 15.5)


# ---- 16 x 16 tool images --------------------------------------------------


def tool_drive(c):
    top = Poly([(2.5, 3), (13.5, 3), (15.5, 6), (0.5, 6)])
    c.outlined(top, (240, 242, 246), (82, 86, 96))
    body = Rect(0.5, 5, 15.5, 13)
    c.outlined(body, vgrad(5, (222, 224, 230), 13, (160, 164, 174)), (82, 86, 96))
    c.draw(Rect(2, 7.5, 10, 8.5), (60, 64, 74))
    c.draw(Rect(2, 8.5, 10, 9.5), (250, 250, 250))
    c.draw(Rect(11, 10, 14, 11), (90, 94, 104))
    c.draw(Rect(12, 7, 14, 8), (40, 200, 70))


def tool_feature(c):
    sheet = Rect(1.5, 0.5, 14.5, 15.5)
    c.outlined(sheet, (255, 255, 255), (120, 126, 138))
    for i, y in enumerate((4.0, 8.0, 12.0)):
        col = GREEN if i != 1 else (150, 150, 150)
        if i != 1:
            c.draw(Capsule(3.6, y - 0.2, 4.9, y + 1.1, 1.4), col)
            c.draw(Capsule(4.9, y + 1.1, 7.0, y - 1.6, 1.4), col)
        else:
            c.draw(Capsule(3.8, y - 1.2, 6.4, y + 1.4, 1.2), (200, 60, 50))
            c.draw(Capsule(3.8, y + 1.4, 6.4, y - 1.2, 1.2), (200, 60, 50))
        c.draw(Rect(8.5, y - 0.5, 12.5, y + 0.5), (120, 130, 150))


def tool_media(c):
    draw_disc(c, 8, 8, 7.5, hole_scale=0.9)


def tool_file(c):
    page = Poly([(2.5, 0.5), (10, 0.5), (13.5, 4), (13.5, 15.5), (2.5, 15.5)])
    c.outlined(page, vgrad(0, (255, 255, 255), 16, (232, 236, 244)), (110, 118, 134))
    fold = Poly([(9.5, 0.5), (13.5, 4.5), (9.5, 4.5)])
    c.outlined(fold, (214, 222, 236), (110, 118, 134))
    for y in (6, 8, 10, 12):
        c.draw(Rect(4, y, 12 if y != 12 else 10, y + 1), (96, 128, 190))


def tool_sector(c):
    # A disc with one sector picked out: the viewer shows them one at a time.
    cx, cy, r = 8, 8, 7.5
    c.draw(Circle(cx, cy, r), DISC_RIM)
    c.draw(Circle(cx, cy, r - 1), disc_paint(cx, cy, r, 0.2))
    c.draw(Arc(cx, cy, 2.2, r, 15, 75), (24, 70, 170))
    c.draw(Arc(cx, cy, 2.6, r - 1, 20, 70), (80, 150, 250))
    c.draw(Circle(cx, cy, 2.5), (150, 156, 168))
    c.draw(Circle(cx, cy, 1.5), None, clear=True)


def tool_filter(c):
    funnel = Poly([(0.5, 1.5), (15.5, 1.5), (9.5, 8.5), (9.5, 15), (6.5, 13), (6.5, 8.5)])
    c.outlined(funnel, dgrad(0, 0, (120, 190, 250), 16, 16, (30, 100, 200)), BLUE_LINE)
    c.draw(Rect(2.5, 2.5, 13.5, 3.5), (210, 236, 255))


def tool_system(c):
    screen = RRect(0.5, 1.5, 15.5, 11.5, c.px(1))
    c.outlined(screen, (70, 74, 84), (50, 54, 62))
    c.draw(Rect(2, 3, 14, 10), vgrad(3, (120, 190, 255), 10, (30, 90, 190)))
    c.draw(Poly([(2, 3), (9, 3), (5, 10), (2, 10)]), (255, 255, 255, 0.18))
    c.draw(Rect(6.5, 11.5, 9.5, 13.5), (120, 124, 134))
    c.outlined(Rect(3.5, 13, 12.5, 15), (170, 174, 184), (80, 84, 94))


def tool_about(c):
    c.draw(Circle(8, 8, 7.5), (24, 70, 160))
    c.draw(Circle(8, 8, 6.5), rgrad(6, 5, 9, (110, 170, 250), (30, 90, 200)))
    c.draw(Rect(7, 3, 9, 5), (255, 255, 255))
    c.draw(Rect(7, 6.5, 9, 12.5), (255, 255, 255))
    c.draw(Rect(6, 6.5, 7, 7.5), (255, 255, 255))
    c.draw(Rect(6, 11.5, 10, 12.5), (255, 255, 255))


def tool_refresh(c):
    # A ring open at the top right, its upper end carrying an arrow head
    # that points clockwise.
    cx, cy, rm = 8, 8.5, 5.0
    end = 85.0
    c.draw(Arc(cx, cy, rm - 1.9, rm + 1.9, end, 25), GREEN_DARK)
    c.draw(Arc(cx, cy, rm - 0.9, rm + 0.9, end + 4, 21), (80, 204, 96))
    a = math.radians(end)
    px, py = cx + math.cos(a) * rm, cy - math.sin(a) * rm
    tx, ty = math.sin(a), math.cos(a)            # clockwise tangent
    rx, ry = math.cos(a), -math.sin(a)           # outward radius
    head = Poly([(px + rx * 3.6, py + ry * 3.6), (px + tx * 3.8, py + ty * 3.8),
                 (px - rx * 3.6, py - ry * 3.6)])
    c.draw(head, GREEN_DARK)
    c.draw(head.inset(0.9), (80, 204, 96))


def tool_eject(c):
    tri = Poly([(8, 1.5), (15, 9), (1, 9)])
    c.outlined(tri, vgrad(1.5, (110, 120, 140), 9, (56, 62, 76)), (36, 40, 50))
    c.outlined(Rect(1, 11, 15, 14.5), vgrad(11, (110, 120, 140), 14.5, (56, 62, 76)), (36, 40, 50))


def tool_save(c):
    body = Poly([(0.5, 0.5), (13.5, 0.5), (15.5, 2.5), (15.5, 15.5), (0.5, 15.5)])
    c.outlined(body, vgrad(0, (70, 110, 200), 16, (30, 66, 150)), (20, 40, 100))
    c.outlined(Rect(3.5, 0.5, 12.5, 6), (214, 218, 226), (90, 96, 110))
    c.draw(Rect(9.5, 1.5, 11.5, 5), (60, 66, 80))
    c.outlined(Rect(2.5, 8.5, 13.5, 15.5), (250, 250, 250), (120, 126, 140))
    c.draw(Rect(4, 10.5, 12, 11.5), (170, 178, 196))
    c.draw(Rect(4, 12.5, 12, 13.5), (170, 178, 196))


TOOLS = [tool_drive, tool_feature, tool_media, tool_file, tool_sector,
         tool_filter, tool_system, tool_about, tool_refresh, tool_eject, tool_save]


# ---- 48 x 48 pictures of the About page -----------------------------------


def strip_checker(c):
    draw_disc(c, 7, 7, 6.8)
    c.draw(Circle(11.6, 11.6, 4.1), (255, 255, 255))
    c.draw(Circle(11.6, 11.6, 3.7), GREEN_DARK)
    c.draw(Circle(11.6, 11.6, 3.2), rgrad(10.6, 10.4, 4.5, (110, 220, 120), (30, 140, 50)))
    c.draw(Capsule(9.8, 11.8, 11.1, 13.1, 1.1), (255, 255, 255))
    c.draw(Capsule(11.1, 13.1, 13.6, 10.2, 1.1), (255, 255, 255))


def strip_copier(c):
    draw_disc(c, 6.2, 6.2, 5.8)
    draw_disc(c, 9.8, 9.8, 5.8)


def strip_audio(c):
    draw_disc(c, 7, 7, 6.8)
    note = (48, 52, 120)
    c.draw(Ellipse(9.5, 13.3, 1.9, 1.4), note)
    c.draw(Ellipse(14.0, 12.3, 1.9, 1.4), note)
    c.draw(Rect(10.7, 6.0, 11.4, 13.3), note)
    c.draw(Rect(15.2, 5.0, 15.9, 12.3), note)
    c.draw(Poly([(10.7, 6.0), (15.9, 5.0), (15.9, 6.8), (10.7, 7.8)]), note)


def strip_logo(c):
    c.draw(RRect(1, 1, 15, 15, 3), (20, 50, 120))
    c.draw(RRect(1.5, 1.5, 14.5, 14.5, 2.6), dgrad(1, 1, (90, 150, 240), 15, 15, (26, 70, 170)))
    c.draw(Poly([(3.6, 4), (6.2, 4), (8, 9.6), (9.8, 4), (12.4, 4), (9.3, 12.2), (6.7, 12.2)]),
           (255, 255, 255))


# ---------------------------------------------------------------------------
# File writers


def render(pic, size, ss=None):
    if ss is None:
        ss = 8 if size <= 16 else (6 if size <= 32 else 4)
    c = Canvas(size, ss)
    pic(c)
    return c.pixels()


def flatten(rgba, bg):
    """Composites over a solid background colour."""
    return [[(clamp8(lerp(bg[0], r, a / 255.0)), clamp8(lerp(bg[1], g, a / 255.0)),
              clamp8(lerp(bg[2], b, a / 255.0))) for (r, g, b, a) in row] for row in rgba]


def keyed(rgba, key, matte):
    """For colour-key transparency: mostly transparent pixels become the key,
    the rest are blended over the light page colour so edges stay smooth."""
    out = []
    for row in rgba:
        o = []
        for (r, g, b, a) in row:
            if a < 96:
                o.append(key)
            else:
                t = a / 255.0
                px = (clamp8(lerp(matte[0], r, t)), clamp8(lerp(matte[1], g, t)),
                      clamp8(lerp(matte[2], b, t)))
                if px == key:
                    px = (key[0] - 1, key[1], key[2] - 1)
                o.append(px)
        out.append(o)
    return out


def bmp24(rows):
    h, w = len(rows), len(rows[0])
    stride = (w * 3 + 3) & ~3
    data = bytearray()
    for row in reversed(rows):
        line = bytearray()
        for (r, g, b) in row:
            line += bytes((b, g, r))
        line += b"\0" * (stride - len(line))
        data += line
    info = struct.pack("<IiiHHIIiiII", 40, w, h, 1, 24, 0, len(data), 2835, 2835, 0, 0)
    head = struct.pack("<2sIHHI", b"BM", 14 + len(info) + len(data), 0, 0, 14 + len(info))
    return head + info + bytes(data)


def ico(images):
    """images: list of RGBA row lists, each square; 32-bit entries with an AND mask."""
    blobs = []
    for rows in images:
        n = len(rows)
        xor = bytearray()
        for row in reversed(rows):
            for (r, g, b, a) in row:
                xor += bytes((b, g, r, a))
        mstride = ((n + 31) // 32) * 4
        mask = bytearray()
        for row in reversed(rows):
            bits = bytearray(mstride)
            for x, p in enumerate(row):
                if p[3] == 0:
                    bits[x // 8] |= 0x80 >> (x % 8)
            mask += bits
        info = struct.pack("<IiiHHIIiiII", 40, n, 2 * n, 1, 32, 0, len(xor) + len(mask), 0, 0, 0, 0)
        blobs.append((n, info + bytes(xor) + bytes(mask)))
    out = bytearray(struct.pack("<HHH", 0, 1, len(blobs)))
    offset = 6 + 16 * len(blobs)
    for n, blob in blobs:
        out += struct.pack("<BBBBHHII", n % 256, n % 256, 0, 0, 1, 32, len(blob), offset)
        offset += len(blob)
    for _, blob in blobs:
        out += blob
    return bytes(out)


def write(path, data):
    with open(path, "wb") as f:
        f.write(data)
    print("wrote", path)


# Tool images sit without a mask on toolbars and tab headers, whose face is
# this light grey on current systems.
TOOL_BACKGROUND = (240, 240, 240)
KEY = (255, 0, 255)
PAGE = (255, 255, 255)


def main(argv):
    root = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    art = os.path.join(root, "res", "art")
    if len(argv) == 3 and argv[1] == "--out":
        art = argv[2]
    elif len(argv) != 1:
        print("usage: make-art.py [--out DIR]", file=sys.stderr)
        return 2
    os.makedirs(art, exist_ok=True)

    sizes = (16, 32, 48)
    for name, pic in (("app.ico", pic_app), ("folder.ico", pic_folder),
                      ("folder-open.ico", pic_folder_open), ("volume.ico", pic_volume)):
        write(os.path.join(art, name), ico([render(pic, s) for s in sizes]))

    tools = [[] for _ in range(16)]
    for pic in TOOLS:
        img = flatten(render(pic, 16), TOOL_BACKGROUND)
        for y in range(16):
            tools[y].extend(img[y])
    write(os.path.join(art, "tools.bmp"), bmp24(tools))

    strip = []
    for pic in (strip_checker, strip_copier, pic_app, strip_audio, strip_logo):
        strip.extend(keyed(render(pic, 48), KEY, PAGE))
    write(os.path.join(art, "about-strip.bmp"), bmp24(strip))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
