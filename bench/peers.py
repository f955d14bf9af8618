"""What solvers need that do not speak the language of the pseudo-Boolean competitions: problems as LP
files, and what they print put into its `o`, `s` and `v` lines."""
import re

NUMBER, LITERAL = re.compile(r"[+-]?\d+"), re.compile(r"(~?)(\S+)")
RELATIONS = (">=", "<=", "=")
CUT = 200  # words on a line of an LP file, whose readers have short ones


def read_opb(path):
    """The objective, or None, as its terms, and the rows as terms, relation and bound, of a linear
    OPB file; a term is a coefficient and a literal. Raises ValueError for anything else."""
    objective, rows = None, []
    with open(path, encoding="latin-1") as text:
        plain = "".join(line for line in text if not line.lstrip().startswith("*"))
    for statement in plain.split(";"):
        words = statement.split()
        if not words:
            continue
        is_objective = words[0].startswith("min:")
        if is_objective:
            words = words[0][len("min:") :].split() + words[1:]
        else:
            bound, relation = words.pop(), words.pop()
            if relation not in RELATIONS or not NUMBER.fullmatch(bound):
                raise ValueError(f"not a row: {statement.strip()[-40:]}")
        if len(words) % 2 or not all(map(NUMBER.fullmatch, words[::2])):
            raise ValueError(f"not linear: {statement.strip()[:40]}")
        terms = [(int(c), literal) for c, literal in zip(words[::2], words[1::2])]
        if is_objective:
            objective = terms
        else:
            rows.append((terms, relation, int(bound)))
    return objective, rows


def write_lp(opb, lp):
    """Converts a file; the names of the variables, which are called x0, x1, ... in the LP file."""
    objective, rows = read_opb(opb)
    numbers = {}

    def form(terms):
        """Terms over variables, each once, and the constant that the negated literals leave."""
        sums, constant = {}, 0
        for coefficient, literal in terms:
            negation, name = LITERAL.fullmatch(literal).groups()
            number = numbers.setdefault(name, len(numbers))
            sums[number] = sums.get(number, 0) + (-coefficient if negation else coefficient)
            constant += coefficient if negation else 0
        words = [f"{c:+d} x{number}" for number, c in sums.items()] or ["0 x0"]
        return "\n".join(" ".join(words[i : i + CUT]) for i in range(0, len(words), CUT)), constant

    with open(lp, "w", encoding="ascii") as out:
        out.write(f"Minimize\nobj: {form(objective or [])[0]}\nSubject To\n")
        for terms, relation, bound in rows:
            text, constant = form(terms)
            out.write(f"{text} {relation} {bound - constant}\n")
        names = [f"x{number}" for number in range(len(numbers))]
        out.write("Binary\n" + "\n".join(names) + "\nEnd\n")
    return list(numbers)


def spoken(printed, names):
    """The output in the competitions' lines; `names` are those that the LP file's variables stand
    for. What is no other language that we know comes back as it is."""
    if not printed.startswith("Welcome to the CBC MILP Solver"):
        return printed
    status = re.search(r"^(Optimal|Infeasible|Stopped on [\w ]*) - objective value", printed, re.M)
    word = status.group(1) if status else ""
    if word == "Infeasible" or re.search(r"(Problem is|proven) infeasible", printed):
        return "s UNSATISFIABLE\n"
    if not word:  # "Stopped on time (no integer solution ...)" has values, but they are fractions
        return "s UNKNOWN\n"
    columns = re.findall(r"^ +\d+ x(\d+) +(\S+) +\S+$", printed[status.end() :], re.M)
    true = {int(number) for number, value in columns if float(value) > 0.5}  # it leaves out zeros
    values = " ".join(("" if i in true else "-") + name for i, name in enumerate(names))
    verdict = "OPTIMUM FOUND" if word == "Optimal" else "SATISFIABLE"
    return f"s {verdict}\nv {values}\n"
