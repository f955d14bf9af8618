#!/usr/bin/env python3
"""Writes a problem of one of the kinds in this directory to standard output.

    generate.py KIND SIZE SEED

KIND is the name of an example without its ending, SIZE a number from 1 that says how large the problem
is to be (see README.md), and SEED chooses one of the many of that kind and size. The same arguments
give the same text, with every version of Python. Each problem has a solution.
"""
import itertools
import sys


class Random:
    """Numbers that look random and depend on the seed alone (D. H. Lehmer, 1951)."""

    def __init__(self, seed):
        self.state = (seed * 2654435761 + 12345) % 2147483646 + 1
        for _ in range(10):  # seeds next to each other begin alike
            self.below(2)

    def below(self, n):
        """An integer from 0 to n - 1."""
        self.state = self.state * 48271 % 2147483647
        return self.state * n // 2147483647

    def between(self, low, high):
        return low + self.below(high - low + 1)

    def choose(self, items, n=1):
        """n different ones of the items, in random order."""
        items = list(items)
        for i in range(n):
            j = self.between(i, len(items) - 1)
            items[i], items[j] = items[j], items[i]
        return items[:n]


class Problem:
    """The text of a problem as it grows."""

    def __init__(self, comment):
        self.lines = ["* " + line if line else "*" for line in comment.strip().splitlines()]

    def form(self, terms):
        return " ".join(f"{coefficient:+d}*{name}" for coefficient, name in terms)

    def objective(self, direction, terms):
        self.lines.append(f"{direction}: {self.form(terms)} ;")

    def row(self, label, terms, relation, bound):
        self.lines.append(f"{label}: {self.form(terms)} {relation} {bound} ;")

    def __str__(self):
        return "\n".join(self.lines) + "\n"


def ones(names):
    return [(1, name) for name in names]


# ------------------------------------------------------------------------------------------------
# The models: from the data of a problem to its text


def knapsack(things, needs, capacity):
    """things: name -> (worth, weight); needs: pairs, the first is of no use without the second."""
    p = Problem("""
A rucksack takes a limited weight; pack as much worth as possible. A variable says whether a thing is
packed. Some things are of no use without another: packed only if that is packed, too.
""")
    p.objective("max", [(worth, name) for name, (worth, _) in things.items()])
    p.row("weight", [(weight, name) for name, (_, weight) in things.items()], "<=", capacity)
    for first, second in needs:
        p.row(f"use_{first}", [(1, second), (-1, first)], ">=", 0)
    return p


def setcover(costs, reach):
    """costs: site -> cost; reach: district -> sites from which it is reached in time."""
    p = Problem("""
Fire stations: which sites to build on so that every district is reached in time from a station, at
the lowest cost. A variable says whether a site is built on; each row is a district.
""")
    p.objective("min", [(cost, site) for site, cost in costs.items()])
    for district, sites in reach.items():
        p.row(district, ones(sites), ">=", 1)
    return p


def timetable(courses, slots, rooms, clashes, closed):
    """courses: names; slots: hour of the day -> wish to avoid it; rooms: how many there are; clashes:
    pairs of courses with a teacher or students in common; closed: (course, slot) not possible."""
    p = Problem("""
A course timetable. The variable Course.Slot says that the course is held then. Each course has one
slot; courses that share a teacher or students have different ones; no slot has more courses than there
are rooms; some courses cannot have some slots. Avoid the unpopular hours.
""")
    p.objective("min", [(slots[s], f"{c}.{s}") for c in courses for s in slots if slots[s] > 0])
    for c in courses:
        p.row(f"once_{c}", ones(f"{c}.{s}" for s in slots), "=", 1)
    for s in slots:
        p.row(f"rooms_{s}", ones(f"{c}.{s}" for c in courses), "<=", rooms)
    for c, d in clashes:
        for s in slots:
            p.row(f"{c}_{d}_{s}", ones([f"{c}.{s}", f"{d}.{s}"]), "<=", 1)
    for c, s in closed:
        p.row(f"closed_{c}_{s}", ones([f"{c}.{s}"]), "=", 0)
    return p


def colouring(countries, borders, colours):
    """borders: pairs of countries; colours: how many there are."""
    p = Problem("""
Colours for a map: countries with a common border get different ones, and as few as possible are used.
The variable Country.N says that the country has colour N, and used.N that some country has. Colours
are used from the first on: otherwise each solution could be had in many ways that differ only in the
colours' names.
""")
    used = [f"used.{k}" for k in range(1, colours + 1)]
    p.objective("min", ones(used))
    for c in countries:
        p.row(f"one_{c}", ones(f"{c}.{k}" for k in range(1, colours + 1)), "=", 1)
    for c, d in borders:
        for k in range(1, colours + 1):
            # At most one of the two has the colour, and only if the colour is used.
            terms = [(1, used[k - 1]), (-1, f"{c}.{k}"), (-1, f"{d}.{k}")]
            p.row(f"{c}_{d}_{k}", terms, ">=", 0)
    for k in range(1, colours):
        p.row(f"order_{k}", [(1, used[k - 1]), (-1, used[k])], ">=", 0)
    return p


def kidneys(pairs, matches):
    """pairs: names; matches: (i, j) when the donor of pair i suits the patient of pair j."""
    p = Problem("""
Kidney exchange. Each pair is a patient with a donor who is willing but does not suit. Pairs exchange
donors in rings of two or three, whose operations take place at the same time. Each variable is a
ring, named after its pairs in order of giving; each row says that a pair takes part in one ring at most.
As many patients as possible shall get a kidney.
""")
    suits = set(matches)
    rings = [(i, j) for i, j in itertools.combinations(pairs, 2) if {(i, j), (j, i)} <= suits]
    for i, j, k in itertools.combinations(pairs, 3):
        for ring in [(i, j, k), (i, k, j)]:
            if {(ring[0], ring[1]), (ring[1], ring[2]), (ring[2], ring[0])} <= suits:
                rings.append(ring)
    p.objective("max", [(len(ring), "_".join(ring)) for ring in rings])
    for pair in pairs:
        mine = ones("_".join(ring) for ring in rings if pair in ring)
        if mine:
            p.row(pair, mine, "<=", 1)
    return p


def vertexcover(costs, streets):
    """costs: crossing -> cost of a camera there; streets: pairs of crossings."""
    p = Problem("""
Cameras at crossings: every street shall be seen from one of its two ends, at the lowest cost. A variable
says whether there is a camera at a crossing; each row is a street.
""")
    p.objective("min", [(cost, crossing) for crossing, cost in costs.items()])
    for a, b in streets:
        p.row(f"{a}_{b}", ones([a, b]), ">=", 1)
    return p


def sudoku(n, given):
    """A grid of n*n by n*n cells; given: (row, column) -> number, all from 1."""
    p = Problem("""
A sudoku: every number once in every row, column and block. The variable rRcCnN says that the cell in
row R and column C has the number N. The last rows state what is given.
""")
    numbers = range(1, n * n + 1)
    cell = "r{}c{}n{}".format
    for r, c in itertools.product(numbers, numbers):
        p.row(f"cell_{r}_{c}", ones(cell(r, c, k) for k in numbers), "=", 1)
    for i, k in itertools.product(numbers, numbers):
        p.row(f"row_{i}_{k}", ones(cell(i, c, k) for c in numbers), "=", 1)
        p.row(f"column_{i}_{k}", ones(cell(r, i, k) for r in numbers), "=", 1)
        top, left = (i - 1) // n * n, (i - 1) % n * n
        block = [cell(top + a, left + b, k) for a in range(1, n + 1) for b in range(1, n + 1)]
        p.row(f"block_{i}_{k}", ones(block), "=", 1)
    for (r, c), k in given.items():
        p.row(f"given_{r}_{c}", ones([cell(r, c, k)]), "=", 1)
    return p


def packages(versions, depends, conflicts, wanted):
    """versions: package -> {version: size}; depends: (package, version) -> list of alternatives, each a
    list of (package, version); conflicts: pairs of (package, version); wanted: packages."""
    p = Problem("""
Packages to install: the wanted ones and all they depend on, as small as possible. The variable
Package.Version says that it is installed, of each package at most one version. A dependency is met by any
one of its alternatives; versions in conflict are not installed together. The objective is the size.
""")
    name = "{0[0]}.{0[1]}".format
    all_of = {q: [(q, v) for v in sizes] for q, sizes in versions.items()}
    p.objective("min", [(versions[q][v], name((q, v))) for q in versions for q, v in all_of[q]])
    for q in versions:
        terms = ones(map(name, all_of[q]))
        p.row(f"one_{q}", terms, "=" if q in wanted else "<=", 1)
    for dependant, needs in depends.items():
        for number, alternatives in enumerate(needs, 1):
            terms = [*ones(map(name, alternatives)), (-1, name(dependant))]
            p.row(f"needs_{name(dependant)}_{number}", terms, ">=", 0)
    for a, b in conflicts:
        p.row(f"not_{name(a)}_{name(b)}", ones([name(a), name(b)]), "<=", 1)
    return p


# ------------------------------------------------------------------------------------------------
# Random data, for problems of any size


def random_knapsack(size, random):
    things = {}
    for i in range(1, 4 * size + 1):
        weight = random.between(5, 40)
        things[f"thing{i}"] = (weight + random.between(-4, 10), weight)
    names = list(things)
    needs = [(names[i], names[random.below(i)]) for i in range(1, len(names)) if random.below(4) == 0]
    return knapsack(things, needs, sum(weight for _, weight in things.values()) // 3)


def random_setcover(size, random):
    sites = [f"site{i}" for i in range(1, 3 * size + 1)]
    costs = {site: random.between(3, 12) for site in sites}
    districts = [f"district{i}" for i in range(1, 4 * size + 1)]
    most = min(4, len(sites))
    return setcover(costs, {d: random.choose(sites, random.between(2, most)) for d in districts})


def random_timetable(size, random):
    slots = {f"{day}{hour}": avoid for day in ["Mon", "Tue", "Wed", "Thu", "Fri"][: size + 1]
             for hour, avoid in [(8, 2), (10, 0), (14, 1)]}
    courses = [f"course{i}" for i in range(1, 4 * size + 1)]
    held = {c: random.choose(slots)[0] for c in courses}  # a timetable that is possible
    rooms = max(sum(held[c] == s for c in courses) for s in slots)
    pairs = list(itertools.combinations(courses, 2))
    clashes = [(c, d) for c, d in pairs if held[c] != held[d] and random.below(5) == 0]
    closed = [(c, s) for c in courses for s in slots if held[c] != s and random.below(6) == 0]
    return timetable(courses, slots, rooms, clashes, closed)


def random_colouring(size, random):
    countries = [f"country{i}" for i in range(1, 4 * size + 1)]
    borders = []
    for i in range(1, len(countries)):  # to few earlier ones each, so that five colours are enough
        near = countries[max(0, i - 6) : i]
        borders += [(country, countries[i]) for country in random.choose(near, min(len(near), 4))]
    return colouring(countries, borders, 5)


def random_kidneys(size, random):
    pairs = [f"pair{i}" for i in range(1, 5 * size + 1)]
    edges = itertools.permutations(pairs, 2)
    matches = [edge for edge in edges if random.below(max(5, 2 * size)) == 0]
    matches += [(pairs[0], pairs[1]), (pairs[1], pairs[0])]  # one ring at least
    return kidneys(pairs, matches)


def random_vertexcover(size, random):
    width = 2 * size
    name = "crossing{}_{}".format
    grid = list(itertools.product(range(width), range(3)))
    costs = {name(x, y): random.between(2, 9) for x, y in grid}
    streets = [(name(x, y), name(x + 1, y)) for x, y in grid if x + 1 < width]
    streets += [(name(x, y), name(x, y + 1)) for x, y in grid if y < 2]
    streets += [(name(x, y), name(x + 1, y + 1)) for x, y in grid
                if x + 1 < width and y < 2 and random.below(3) == 0]
    return vertexcover(costs, streets)


def random_sudoku(size, random):
    n = size + 1
    groups = range(n)

    def order():
        return [n * group + i for group in random.choose(groups, n) for i in random.choose(groups, n)]

    rows, columns = order(), order()
    numbers = random.choose(range(1, n * n + 1), n * n)
    given = {}
    for r, c in itertools.product(range(n * n), range(n * n)):
        if random.below(5) < 2:
            r1, c1 = rows[r], columns[c]
            given[r + 1, c + 1] = numbers[(n * (r1 % n) + r1 // n + c1) % (n * n)]
    return sudoku(n, given)


def random_packages(size, random):
    names = [f"package{i}" for i in range(1, 5 * size + 1)]
    versions = {q: {v: random.between(1, 50) for v in range(1, random.between(2, 4))} for q in names}
    fine = {q: random.choose(versions[q])[0] for q in names}  # these go together
    everything = [(q, v) for q in names for v in versions[q]]
    depends = {}
    for q, v in everything:
        lower = names[names.index(q) + 1 :]
        needs = random.choose(lower, min(len(lower), random.between(0, 2)))
        depends[q, v] = [
            [(r, fine[r]), *random.choose(everything, random.between(0, 1))] for r in needs
        ]
    conflicts = [
        (a, b) for a, b in itertools.combinations(everything, 2)
        if a[0] != b[0] and random.below(4 * size) == 0 and (fine[a[0]], fine[b[0]]) != (a[1], b[1])
    ]
    return packages(versions, depends, conflicts, names[: size + 1])


KINDS = {
    "colouring": random_colouring,
    "kidneys": random_kidneys,
    "knapsack": random_knapsack,
    "packages": random_packages,
    "setcover": random_setcover,
    "sudoku": random_sudoku,
    "timetable": random_timetable,
    "vertexcover": random_vertexcover,
}


def main(arguments):
    try:
        kind, size, seed = arguments[0], int(arguments[1]), int(arguments[2])
    except (IndexError, ValueError):
        sys.exit(f"usage: generate.py KIND SIZE SEED\nkinds: {' '.join(KINDS)}")
    if len(arguments) != 3 or kind not in KINDS or size < 1 or seed < 0:
        sys.exit(f"usage: generate.py KIND SIZE SEED\nkinds: {' '.join(KINDS)}")
    sys.stdout.write(str(KINDS[kind](size, Random(seed))))


if __name__ == "__main__":
    main(sys.argv[1:])
