#!/usr/bin/python3
"""Writes the checker's test parts as STEP files with gmsh's OpenCASCADE kernel, an independent writer.

Usage: make_parts.py OUTPUT_DIR, or make_parts.py holes N FILE for the benchmark's plate with N x N holes.
Lengths in millimetres, pull along +Z unless a part says otherwise.
The tests state the expected features of each part; keep both in step when a part changes.
"""
import math
import os
import sys

import gmsh

occ = None


def box(x, y, z, dx, dy, dz):
    return (3, occ.addBox(x, y, z, dx, dy, dz))


def cylinder(x, y, z, dx, dy, dz, r):
    return (3, occ.addCylinder(x, y, z, dx, dy, dz, r))


def cone(x, y, z, dx, dy, dz, r1, r2):
    return (3, occ.addCone(x, y, z, dx, dy, dz, r1, r2))


def fuse(a, *others):
    result, _ = occ.fuse([a], list(others))
    return result


def cut(a, *tools):
    result, _ = occ.cut(a if isinstance(a, list) else [a], list(tools))
    return result


def rectangle_wire(x0, y0, z, dx, dy):
    points = [occ.addPoint(x0, y0, z), occ.addPoint(x0 + dx, y0, z), occ.addPoint(x0 + dx, y0 + dy, z),
              occ.addPoint(x0, y0 + dy, z)]
    lines = [occ.addLine(points[i], points[(i + 1) % 4]) for i in range(4)]
    return occ.addWire(lines)


def plate():
    # 100 x 60 x 4 plate, square sides; a blind hole D6 depth 3 from the top, a through hole D5, and two
    # through holes D4 whose centres are 6 apart (a 2 mm ligament).
    body = box(0, 0, 0, 100, 60, 4)
    cut(body, cylinder(15, 15, 1, 0, 0, 4, 3), cylinder(40, 15, -1, 0, 0, 6, 2.5),
        cylinder(70, 30, -1, 0, 0, 6, 2), cylinder(76, 30, -1, 0, 0, 6, 2))


def drafted():
    # A 40 x 40 block 20 high whose four sides have a 2 degree draft towards +Z.
    inset = 20 * math.tan(math.radians(2))
    bottom = rectangle_wire(0, 0, 0, 40, 40)
    top = rectangle_wire(inset, inset, 20, 40 - 2 * inset, 40 - 2 * inset)
    occ.addThruSections([bottom, top], makeSolid=True, makeRuled=True)


def boss():
    # A 60 x 60 x 3 plate with a boss: outer D10 at its base, 12 high, 1 degree outer draft; a coaxial hole D4 at
    # the tip, 10 deep, 0.5 degree inner draft.
    body = box(0, 0, 0, 60, 60, 3)
    outer = cone(30, 30, 3, 0, 0, 12, 5, 5 - 12 * math.tan(math.radians(1)))
    merged = fuse(body, outer)
    hole = cone(30, 30, 15, 0, 0, -10, 2, 2 - 10 * math.tan(math.radians(0.5)))
    cut(merged, hole)


def thick():
    # An 80 x 40 plate 4 thick with a section 10 thick (x from 30 to 50).
    fuse(box(0, 0, 0, 80, 40, 4), box(30, 0, 4, 20, 40, 6))


def window():
    # An open box (walls 2 thick, 20 high) with a 10 x 6 window in the wall at x = 0: an undercut.
    outer = box(0, 0, 0, 40, 40, 20)
    cut(outer, box(2, 2, 2, 36, 36, 20), box(-1, 15, 8, 4, 10, 6))


def drafted_rib(y, foot, height, draft):
    # A rib along x from 5 to 55 centred on y, standing on z = 3: `foot` thick there, its sides drafted.
    tip = foot - 2 * height * math.tan(math.radians(draft))
    bottom = rectangle_wire(5, y - foot / 2, 3, 50, foot)
    top = rectangle_wire(5, y - tip / 2, 3 + height, 50, tip)
    return (3, occ.addThruSections([bottom, top], makeSolid=True, makeRuled=True)[0][1])


def rib():
    # A 60 x 40 x 3 plate with two ribs along x, 1.5 thick at the foot, 10 high, 0.5 degree draft on each side,
    # 12 apart (a 10.5 clear gap): the one at y = 14 with 0.6 fillets at its foot, the one at y = 26 without.
    body = fuse(box(0, 0, 0, 60, 40, 3), drafted_rib(14, 1.5, 10, 0.5), drafted_rib(26, 1.5, 10, 0.5))
    foot = [tag for y in (13.25, 14.75) for _, tag in occ.getEntitiesInBoundingBox(4.9, y - 0.01, 2.99, 55.1, y + 0.01, 3.01, 1)]
    occ.fillet([tag for _, tag in body], foot, [0.6])


def rounded_ribs():
    # Ribs along x, 2 thick, 10 high, 12 apart on a 3 mm plate: a half-cylinder top at y = 14, 0.5 rounds at y = 26.
    body = fuse(box(0, 0, 0, 60, 40, 3), box(5, 13, 3, 50, 2, 9), cylinder(5, 14, 12, 50, 0, 0, 1),
                box(5, 25, 3, 50, 2, 10))
    top = [tag for y in (25, 27)
           for _, tag in occ.getEntitiesInBoundingBox(4.9, y - 0.01, 12.99, 55.1, y + 0.01, 13.01, 1)]
    occ.fillet([tag for _, tag in body], top, [0.5])


def blended_boss():
    # A boss D10, 12 high on a 3 mm plate, revolved from a profile whose foot is a quarter ellipse 2 wide, 1 high.
    p = [occ.addPoint(*q) for q in [(30, 30, 3), (37, 30, 3), (35, 30, 4), (35, 30, 15), (30, 30, 15), (37, 30, 4)]]
    curves = [occ.addLine(p[0], p[1]), occ.addEllipseArc(p[1], p[5], p[1], p[2]), occ.addLine(p[2], p[3]),
              occ.addLine(p[3], p[4]), occ.addLine(p[4], p[0])]
    profile = occ.addPlaneSurface([occ.addCurveLoop(curves)])
    boss = occ.revolve([(2, profile)], 30, 30, 0, 0, 0, 1, 2 * math.pi)
    fuse(box(0, 0, 0, 60, 60, 3), *[e for e in boss if e[0] == 3])


def two_solids():
    box(0, 0, 0, 10, 10, 10)
    box(20, 0, 0, 10, 10, 10)


def sheet():
    # One face and no solid: a shell that is not closed.
    occ.addRectangle(0, 0, 0, 30, 20)


def plate_in_metres():
    # The plate again, its coordinates given in metres: the file's unit line says so (rewritten after writing,
    # as the writer always declares millimetres).
    plate()
    occ.dilate(occ.getEntities(3), 0, 0, 0, 1e-3, 1e-3, 1e-3)


def perforated(count):
    # A plate 4 thick with count x count through holes D3 at a 6 mm pitch.
    def build():
        side = 6 * count + 6
        body = box(0, 0, 0, side, side, 4)
        cut(body, *[cylinder(6 + 6 * i, 6 + 6 * j, -1, 0, 0, 6, 1.5) for i in range(count) for j in range(count)])
    return build


def write(name, build, directory):
    global occ
    gmsh.initialize()
    gmsh.option.setNumber("General.Terminal", 0)
    gmsh.model.add(name)
    occ = gmsh.model.occ
    build()
    occ.synchronize()
    path = os.path.join(directory, name + ".step")
    gmsh.write(path)
    gmsh.finalize()
    return path


def main():
    if sys.argv[1] == "holes":
        path = write("holes", perforated(int(sys.argv[2])), os.path.dirname(os.path.abspath(sys.argv[3])))
        os.replace(path, sys.argv[3])
        return
    directory = sys.argv[1]
    os.makedirs(directory, exist_ok=True)
    for name, build in [("plate", plate), ("drafted", drafted), ("boss", boss), ("thick", thick), ("window", window),
                        ("rib", rib), ("rounded_ribs", rounded_ribs),
                        ("blended_boss", blended_boss),
                        ("two_solids", two_solids), ("sheet", sheet)]:
        write(name, build, directory)
    metres = write("plate_in_metres", plate_in_metres, directory)
    with open(metres) as source:
        text = source.read()
    with open(metres, "w") as target:
        target.write(text.replace("SI_UNIT(.MILLI.,.METRE.)", "SI_UNIT($,.METRE.)"))
    with open(os.path.join(directory, "plate.step"), "rb") as source:
        text = source.read()
    with open(os.path.join(directory, "truncated.step"), "wb") as damaged:
        damaged.write(text[: len(text) // 2])
    with open(os.path.join(directory, "garbage.step"), "wb") as garbage:
        garbage.write(b"ISO-10303-21;\nHEADER;\n\x00\xff#1=CARTESIAN_POINT(('',(0.,0.,\n" + bytes(range(256)))
    with open(os.path.join(directory, "empty.step"), "wb"):
        pass


if __name__ == "__main__":
    main()
