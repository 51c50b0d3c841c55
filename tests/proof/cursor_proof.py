#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Proves, for every length there is, that the cursor over a received message is a sound gate.

    cursor_proof.py SOURCE_DIR

The tests of the cursor are read from its source, common/src/kelvo_wire.h: every comparison of each
step, in its order, is translated to bit-vector arithmetic as the compiler would do it. If the source
takes a shape that is not known here, that is a failure too. Proven about it, with lengths of 32 bits
and the bytes left of 64:

  - a step that succeeds moves by a multiple of 8 that is within the bytes left;
  - no byte is read outside the bytes left, whether the step succeeds or not;
  - no sum or difference wraps;
  - the outcome is that of the plain tests in arithmetic that cannot wrap.
"""
import re
import sys
from pathlib import Path

from z3 import And, BitVec, BitVecVal, If, Implies, Not, Or, SolverFor, UGE, ULE, ULT, URem, ZeroExt, unsat

WIDE = 80  # bits: no sum here can wrap in it

left = BitVec("left", 64)
length = BitVec("length", 32)
byte_is_nul = BitVec("last_byte", 8) == 0


def wide(value):
    return ZeroExt(WIDE - value.size(), value)


class Source:
    """The cursor as it stands in the source."""

    def __init__(self, directory):
        common = Path(directory) / "common"
        self.wire = (common / "src/kelvo_wire.h").read_text()
        bytes_h = (common / "src/kelvo_bytes.h").read_text()
        types = (common / "include/kelvo_common_msg.h").read_text()
        self.cell = int(self.find(types, r"KELVO_ASSERT_SIZE\(kelvo_length_cell, (\d+)\)"))
        self.find(self.wire, r"(kCellBytes = sizeof\(kelvo_length_cell\))")
        mask = self.find(bytes_h, r"u32 pad8\(u32 length\) noexcept \{\s*return \(0U - length\) & (\d+)U;")
        up, down = (int(self.find(bytes_h, rf"u64 padded8\(u32 length\) noexcept \{{\s*return {term};"))
                    for term in (r"\(u64\{length\} \+ (\d+)\) & ~u64\{7\}", r"\(u64\{length\} \+ 7\) & ~u64\{(\d+)\}"))
        self.pad = -length & BitVecVal(int(mask), 32)
        self.padded = (ZeroExt(32, length) + up) & ~BitVecVal(down, 64)

    @staticmethod
    def find(text, pattern):
        match = re.search(pattern, text)
        if not match:
            sys.exit(f"the source has taken a shape that is not known here: no /{pattern}/")
        return match.group(1)

    def step(self, name):
        """Body of one member of the cursor."""
        return self.find(self.wire, rf"Status {name}\([^)]*\) (?:const )?noexcept (\{{.*?\n    \}})".replace(
            ".*?", r"[\s\S]*?"))

    def checks(self, name):
        """The tests of a step in their order: (refused when, status)."""
        known = {
            "left_ < kCellBytes": ULT(left, self.cell),
            "left_ - kCellBytes < length": ULT(left - self.cell, ZeroExt(32, length)),
            "left_ - kCellBytes < padded8(length)": ULT(left - self.cell, self.padded),
            "left_ - kCellBytes < padded8(n)": ULT(left - self.cell, self.padded),
            "length == 0 || at_[kCellBytes + u64{length} - 1] != 0": Or(length == 0, Not(byte_is_nul)),
        }
        found = []
        for condition, status in re.findall(r"if \((.*)\)\s+return refuse\(KELVO_ERR_MSG_(\w+)\);", self.step(name)):
            if condition not in known:
                sys.exit(f"{name}: the test '{condition}' is not known here")
            found.append((known[condition], status))
        moves = re.findall(r"advance\((.*)\);", self.step(name))
        if moves not in (["kCellBytes + padded8(length)"], ["kCellBytes + padded8(n)"]):
            sys.exit(f"{name}: moves by {moves}, which is not known here")
        return found


def prove(what, claim):
    solver = SolverFor("QF_BV")
    solver.add(Not(claim))
    if solver.check() != unsat:
        sys.exit(f"NOT PROVEN: {what}\n  counterexample: {solver.model()}")
    print(f"proven: {what}")


def outcome(checks):
    """First failing test of a list, as a number: 0 success, 1 LENGTH, 2 CONTENT."""
    result = BitVecVal(0, 2)
    for refused, status in reversed(checks):
        result = If(refused, BitVecVal({"LENGTH": 1, "CONTENT": 2}[status], 2), result)
    return result


def reached(checks, number):
    return And(*[Not(refused) for refused, _ in checks[:number]])


def main():
    source = Source(sys.argv[1])
    cell = source.cell
    filled = (wide(length) + 7) & ~BitVecVal(7, WIDE)

    prove("fill brings a length to the next multiple of 8",
          And(wide(source.padded) == filled, wide(length) + wide(source.pad) == filled, ULE(wide(source.pad), 7)))

    # For any two numbers, so that it need not be proven again with the cursor's long sums in their place.
    taken = BitVec("taken", 64)
    prove("a difference is exact where no more is taken than there is",
          Implies(ULE(taken, left), wide(left - taken) == wide(left) - wide(taken)))

    text = source.checks("text")
    value = source.checks("value")
    plain_text = [
        (ULT(wide(left), 8), "LENGTH"),
        (ULT(wide(left), wide(length) + 8), "LENGTH"),
        (Or(length == 0, Not(byte_is_nul)), "CONTENT"),
        (ULT(wide(left), filled + 8), "LENGTH"),
    ]
    plain_value = [(ULT(wide(left), 8), "LENGTH"), (ULT(wide(left), filled + 8), "LENGTH")]
    prove("a counted string passes exactly the four tests", outcome(text) == outcome(plain_text))
    prove("a counted value passes exactly its two tests", outcome(value) == outcome(plain_value))

    nul = next(i for i, (_, status) in enumerate(text) if status == "CONTENT")
    prove("the text's last byte is read only where there is one",
          Implies(And(reached(text, nul), length != 0), ULT(wide(length) + (cell - 1), wide(left))))
    for name, checks in (("counted string", text), ("counted value", value)):
        success = outcome(checks) == 0
        move = source.padded + cell
        prove(f"a {name} that is accepted lies within the bytes left",
              Implies(success, ULE(wide(source.padded) + cell, wide(left))))
        prove(f"a {name} moves the cursor by a multiple of 8 and no sum wraps",
              Implies(success, And(URem(move, BitVecVal(8, 64)) == 0, wide(move) == wide(source.padded) + cell)))
        prove(f"a {name} takes no more than there is, so what is left after it is exact",
              Implies(success, ULE(move, left)))
        for i in range(1, len(checks)):
            prove(f"{name}, test {i + 1}: what is left after the cell does not wrap",
                  Implies(reached(checks, i), UGE(left, BitVecVal(cell, 64))))


if __name__ == "__main__":
    main()
