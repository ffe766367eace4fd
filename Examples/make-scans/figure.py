#!/usr/bin/python3
"""Paints the figure of the article: a photograph-like still life, ray traced, so that it is all our own.

usage: figure.py OUT.png
"""
import sys

import numpy as np
from PIL import Image

WIDTH, HEIGHT, LIGHTS = 960, 720, 24
RANDOM = np.random.default_rng(7)

# Books: centre x, z; bottom y; half width, height, half depth; turn in degrees; cover colour.
BOOKS = [
    (0.0, 0.0, 0.0, 1.55, 0.42, 1.10, 8, (0.13, 0.25, 0.20)),
    (0.10, 0.05, 0.42, 1.32, 0.34, 0.95, -11, (0.52, 0.16, 0.10)),
    (-0.15, 0.0, 0.76, 1.12, 0.30, 0.80, 21, (0.16, 0.20, 0.38)),
]
BALL, BALL_RADIUS = np.array([2.25, 0.42, -0.55]), 0.42
EYE, TARGET = np.array([0.9, 2.7, -6.2]), np.array([0.35, 0.45, 0.0])


def unit(v):
    return v / np.linalg.norm(v, axis=-1, keepdims=True)


def camera_rays():
    forward = unit(TARGET - EYE)
    right = unit(np.cross(np.array([0.0, 1.0, 0.0]), forward))
    up = np.cross(forward, right)
    x, y = np.meshgrid((np.arange(WIDTH) + 0.5) / WIDTH - 0.5, 0.5 - (np.arange(HEIGHT) + 0.5) / HEIGHT)
    ray = forward + 0.92 * (x[..., None] * right + y[..., None] * up * HEIGHT / WIDTH)
    return np.broadcast_to(EYE, ray.shape).reshape(-1, 3), unit(ray).reshape(-1, 3)


def into_book(book, v, point):
    """A point or a direction in the book's own axes."""
    a = np.radians(book[6])
    if point:
        v = v - np.array([book[0], book[2] + book[4] / 2, book[1]])
    return np.stack([v[:, 0] * np.cos(a) - v[:, 2] * np.sin(a), v[:, 1], v[:, 0] * np.sin(a) + v[:, 2] * np.cos(a)], -1)


def hit_book(book, origin, ray):
    half = np.array([book[3], book[4] / 2, book[5]])
    o, d = into_book(book, origin, True), into_book(book, ray, False)
    d = np.where(np.abs(d) < 1e-9, 1e-9, d)
    near, far = (-half * np.sign(d) - o) / d, (half * np.sign(d) - o) / d
    t = near.max(-1)
    return np.where((t < far.min(-1)) & (t > 1e-4), t, np.inf), near.argmax(-1), o, d


def hit_ball(origin, ray):
    o = origin - BALL
    b = (o * ray).sum(-1)
    root = b * b - ((o * o).sum(-1) - BALL_RADIUS**2)
    t = -b - np.sqrt(np.maximum(root, 0))
    return np.where((root > 0) & (t > 1e-4), t, np.inf)


def hit_table(origin, ray):
    t = -origin[:, 1] / np.where(np.abs(ray[:, 1]) < 1e-9, 1e-9, ray[:, 1])
    return np.where(t > 1e-4, t, np.inf)


def in_light(point, lamp):
    way = lamp - point
    distance = np.linalg.norm(way, axis=-1)
    ray = way / distance[:, None]
    blocked = hit_ball(point, ray) < distance
    for book in BOOKS:
        blocked |= hit_book(book, point, ray)[0] < distance
    return ~blocked


def wood(point):
    ring = np.sin(9 * point[:, 2] + 1.4 * np.sin(0.7 * point[:, 0]) + 0.5 * np.sin(3.1 * point[:, 0] + point[:, 2]))
    grain = np.sin(90 * point[:, 2] + 5 * np.sin(1.3 * point[:, 0]))
    return np.array([0.47, 0.31, 0.19]) * (1 + 0.10 * ring + 0.035 * grain)[:, None]


def cover(book, local, axis, ray):
    """Cloth on the boards and the spine, cut paper on the other three edges; boards stand out a little."""
    half = np.array([book[3], book[4] / 2, book[5]])
    colour = np.broadcast_to(np.array(book[7]), local.shape).copy()
    weave = 1 + 0.05 * np.sin(160 * local[:, 0]) * np.sin(160 * local[:, 2])
    colour *= weave[:, None]
    spine = (axis == 2) & (ray[:, 2] > 0)
    block = (axis != 1) & ~spine & (np.abs(local[:, 1]) < half[1] - 0.05)
    leaves = 0.84 + 0.07 * np.sin(260 * local[:, 1])
    colour[block] = np.array([1.0, 0.95, 0.84]) * leaves[block][:, None]
    bands = spine & (np.abs(np.abs(local[:, 0]) - 0.55 * half[0]) < 0.02)
    label = (axis == 1) & (np.abs(local[:, 0]) < 0.42) & (np.abs(local[:, 2] + 0.05) < 0.2)
    frame = label & ((np.abs(local[:, 0]) > 0.38) | (np.abs(local[:, 2] + 0.05) > 0.16))
    colour[bands] = (0.80, 0.62, 0.28)
    colour[label] = (0.90, 0.85, 0.72)
    colour[frame] = (0.55, 0.42, 0.22)
    return colour


def nearest(origin, ray):
    """Distance, normal and colour of what each ray meets first."""
    best, normal = hit_table(origin, ray), np.tile([0.0, 1.0, 0.0], (len(ray), 1))
    colour = wood(origin + ray * np.minimum(best, 60)[:, None])
    for book in BOOKS:
        t, axis, o, d = hit_book(book, origin, ray)
        mask = t < best
        own = np.zeros_like(ray)
        own[np.arange(len(ray)), axis] = -np.sign(d[np.arange(len(ray)), axis])
        a = np.radians(-book[6])
        turned = np.stack([own[:, 0] * np.cos(a) - own[:, 2] * np.sin(a), own[:, 1],
                           own[:, 0] * np.sin(a) + own[:, 2] * np.cos(a)], -1)
        local = o + d * np.where(np.isfinite(t), t, 0)[:, None]
        colour[mask] = cover(book, local, axis, d)[mask]
        normal[mask], best = turned[mask], np.minimum(t, best)
    return best, normal, colour


def shade(origin, ray):
    distance, normal, colour = nearest(origin, ray)
    seen = np.isfinite(distance)
    point = origin + ray * np.where(seen, distance, 50)[:, None] + normal * 1e-3
    light = np.zeros(len(ray))
    for _ in range(LIGHTS):
        lamp = np.array([-4.2, 5.2, -3.2]) + RANDOM.uniform(-0.9, 0.9, 3)
        slope = np.maximum((unit(lamp - point) * normal).sum(-1), 0)
        light += slope * in_light(point, lamp) / LIGHTS
    ambient = 0.22 + 0.12 * normal[:, 1] - 0.10 * np.exp(-3.5 * point[:, 1]) * (normal[:, 1] < 0.5)
    lit = colour * (ambient[:, None] * np.array([0.8, 0.9, 1.1]) + light[:, None] * np.array([1.15, 1.05, 0.88]))
    dusk = np.array([0.30, 0.29, 0.28]) * (0.5 + 0.5 * np.clip(1 - ray[:, 1:2] * 2, 0, 1))
    fog = np.where(seen, np.clip((distance - 7) / 16, 0, 1), 1.0)[:, None]
    return lit * (1 - fog) + dusk * fog


def glass(origin, ray, t):
    """Glass bends the view behind it and mirrors what is above it."""
    point = origin + ray * t[:, None]
    normal = unit(point - BALL)
    mirrored = ray - 2 * (ray * normal).sum(-1, keepdims=True) * normal
    cosine = -(ray * normal).sum(-1, keepdims=True)
    ratio = 1 / 1.5
    inside = unit(ratio * ray + (ratio * cosine - np.sqrt(1 - ratio**2 * (1 - cosine**2))) * normal)
    out = point - 2 * (inside * (point - BALL)).sum(-1, keepdims=True) * inside
    through = unit(inside + 0.35 * unit(out - BALL))
    fresnel = 0.05 + 0.95 * (1 - np.clip(cosine, 0, 1)) ** 4
    spark = np.clip((mirrored * unit(np.array([-4.2, 5.2, -3.2]) - BALL)).sum(-1, keepdims=True), 0, 1) ** 220
    return shade(out + through * 2e-3, through) * 0.9 * (1 - fresnel) + shade(point, mirrored) * fresnel + 1.6 * spark


def main():
    origin, ray = camera_rays()
    colour = shade(origin, ray)
    ball = hit_ball(origin, ray)
    first = ball < nearest(origin, ray)[0]
    colour[first] = glass(origin[first], ray[first], ball[first])
    picture = np.clip(colour * 1.15, 0, 1).reshape(HEIGHT, WIDTH, 3) ** (1 / 2.0)
    Image.fromarray((picture * 255).astype(np.uint8)).save(sys.argv[1])


if __name__ == "__main__":
    main()
