# SPDX-License-Identifier: MIT
"""Checks the order of memory accesses in the machine code of the sequence lock, in the functions into which the
compiler inlines it.

Follows the control flow with symbolic register contents: of registers and stack slots, it knows those that hold the
address of the version or its value.
"""

import argparse
import re
import subprocess
import sys
import unittest

options = argparse.Namespace()

STACK = "sp"
PAGE = "page at"
FUNCTION = "address of"
MAX_STATES = 200_000


class Instruction:
    def __init__(self, address, text):
        self.address = address
        callee = re.search(r"<([^>@+]+)(?:@[^>]*)?>", text)
        self.callee = callee[1] if callee else None
        text = re.split(r"\s+(?:#|//) ", text)[0]
        self.name, rest = re.fullmatch(r"(?:(?:notrack|bnd|lock|rep[nz]*) )?(\S+)\s*(.*)", text).groups()
        target = re.search(r"\b([0-9a-f]+) <([^>+]+)(?:@plt)?(?:\+0x[0-9a-f]+)?>", rest)
        self.target = int(target[1], 16) if target else None
        self.operands = [operand.strip() for operand in re.split(r",(?![^(\[]*[)\]])", rest.split("<")[0])]


# The instruction sets. A state maps registers and stack slots to values: (symbol, offset), or None if unknown.
# step() updates it and returns the instruction's accesses: (kind, address or other operand, value).


class X86:
    fences_needed = False  # loads are not reordered with loads, nor stores with stores
    CALLER_SAVED = ("ax", "cx", "dx", "si", "di", "r8", "r9", "r10", "r11")

    @staticmethod
    def register(operand):
        match = re.fullmatch(r"%(?:[re]?(ax|bx|cx|dx|si|di|bp|sp)|([abcd])[lh]|(si|di|bp|sp)l|(r\d+)[dwb]?)", operand)
        if not match:
            return None
        name = match[1] or (match[2] + "x" if match[2] else match[3] or match[4])
        return STACK if name == "sp" else name

    def memory(self, state, operand):
        """Returns whether the operand is in memory, and its address."""
        match = re.fullmatch(r"(?:%\ws:)?(-?0x[0-9a-f]+|-?\d+)?\((%\w+)?(,.*)?\)", operand)
        if not match:
            return operand.startswith("%fs:"), None
        base = state.get(self.register(match[2])) if match[2] else None
        if base is None or match[3]:
            return True, None
        return True, (base[0], base[1] + int(match[1] or "0", 0))

    def step(self, code, instruction, state):
        name, operands = instruction.name, instruction.operands
        if name in ("push", "pop"):
            at = state.get(STACK)
            change = -8 if name == "push" else 8
            state[STACK] = (at[0], at[1] + change) if at else None
            if name == "pop":
                state[self.register(operands[0])] = None
            return []
        if name.startswith("call"):
            for register in self.CALLER_SAVED:
                state[register] = None
            state["ax"] = (("result of", instruction.callee, instruction.address), 0)
            return [("call", instruction.callee, None)]
        if name in ("test", "testb") and operands[0] == "$0x1":
            return [("test", state.get(self.register(operands[1])), None)]
        if name in ("cmp", "cmpq"):
            accesses, values = [], []
            for operand in operands:
                values.append(self.value(code, instruction, state, operand, accesses))
            return accesses + [("compare", values[0], values[1])]
        if len(operands) != 2:
            register = self.register(operands[0]) if operands else None
            if register and not name.startswith(("j", "nop", "mul", "div")):
                state[register] = None
            return []
        accesses = []
        source, destination = operands
        in_memory, address = self.memory(state, destination)
        register = self.register(destination)
        value = None
        if name in ("mov", "movq"):
            value = self.value(code, instruction, state, source, accesses)
        elif name == "lea":
            value = self.memory(state, source)[1]
        elif name in ("add", "sub") and source.startswith("$") and register:
            value = code.moved(state.get(register), int(source[1:], 0) * (1 if name == "add" else -1))
        elif not name.startswith(("test", "bt", "prefetch", "nop")):
            self.value(code, instruction, state, source, accesses)
        if in_memory and not name.startswith(("test", "bt", "prefetch", "nop")):
            if address and address[0] == STACK:
                state[address] = value
            else:
                accesses.append(("store", address, value))
        elif register and not name.startswith(("test", "bt")):
            state[register] = value
        return accesses

    def value(self, code, instruction, state, operand, accesses):
        register = self.register(operand)
        if register:
            return state.get(register)
        in_memory, address = self.memory(state, operand)
        return code.load(instruction, state, address, "load", accesses) if in_memory else None

    @staticmethod
    def is_end(name):
        return name in ("ret", "hlt", "ud2")

    @staticmethod
    def jump(name):
        """Returns whether the instruction may jump, and whether it may continue."""
        return (True, name != "jmp" and name != "jmpq") if name.startswith("j") else (False, True)


class Arm:
    fences_needed = True
    CALLER_SAVED = tuple(f"x{i}" for i in range(19))
    LOADS = {"ldr": "load", "ldur": "load", "ldar": "acquire", "ldapr": "acquire"}
    STORES = {"str": "store", "stur": "store", "stlr": "release"}

    @staticmethod
    def register(operand):
        if operand == "sp":
            return STACK
        return "x" + operand[1:] if re.fullmatch(r"[xw]\d+", operand) else None

    def memory(self, state, operand):
        match = re.fullmatch(r"\[(\w+)(?:, #(-?\d+|-?0x[0-9a-f]+))?\]", operand)
        base = state.get(self.register(match[1])) if match else None
        return (base[0], base[1] + int(match[2] or "0", 0)) if base else None

    def step(self, code, instruction, state):
        name, operands = instruction.name, instruction.operands
        accesses = []
        register = self.register(operands[0]) if operands else None
        if name in ("bl", "blr"):
            called = state.get(register) if name == "blr" else None
            callee = called[0][1] if called and called[0][0] == FUNCTION else instruction.callee
            for saved in self.CALLER_SAVED:
                state[saved] = None
            state["x0"] = (("result of", callee, instruction.address), 0)
            return [("call", callee, None)]
        if name == "dmb":
            return [("fence", operands[0], None)]
        if name in ("tbnz", "tbz"):
            return [("test", state.get(register), None)] if operands[1] in ("#0", "#0x0") else []
        if name == "cmp":
            return [("compare", state.get(register), state.get(self.register(operands[1])))]
        if name in ("stp", "str", "stur", "stlr") or name.startswith("st"):
            place = operands[2] if name in ("stp", "stnp") else operands[1]
            address = self.memory(state, place)
            if place.endswith("!") and place.startswith("[sp"):
                state[STACK] = code.moved(state[STACK], int(place[:-2].split("#")[1], 0))
                return []
            if address and address[0] == STACK:
                sources = operands[:2] if name == "stp" else operands[:1]
                for i, source in enumerate(sources):
                    state[(STACK, address[1] + 8 * i)] = state.get(self.register(source))
                return []
            return [(self.STORES.get(name, "store"), address, state.get(register))]
        if name in ("ldp", "ldnp"):
            address = self.memory(state, operands[2])
            for i, target in enumerate(operands[:2]):
                at = (STACK, address[1] + 8 * i) if address and address[0] == STACK else None
                state[self.register(target)] = state.get(at)
            return []
        value = None
        if name in self.LOADS:
            value = code.load(instruction, state, self.memory(state, operands[1]), self.LOADS[name], accesses)
        elif name == "adrp":
            value = ((PAGE, instruction.target or int(operands[1], 16)), 0)
        elif name == "mov":
            value = state.get(self.register(operands[1]))
        elif name in ("add", "sub") and len(operands) == 3 and operands[2].startswith("#"):
            amount = int(operands[2][1:], 0)
            value = code.moved(state.get(self.register(operands[1])), amount if name == "add" else -amount)
        if register and not name.startswith(("cb", "tst", "ccmp", "cmn", "prfm")):
            state[register] = value
        return accesses

    @staticmethod
    def is_end(name):
        return name in ("ret", "retaa", "brk", "udf")

    @staticmethod
    def jump(name):
        if name in ("b", "br"):
            return True, False
        return name.startswith(("b.", "cb", "tb")), True


class Code:
    """The code of one function of the platform."""

    def __init__(self, function):
        text = subprocess.run(
            [options.objdump, "--wide", "--disassemble=" + function, "--no-show-raw-insn", options.platform],
            check=True, capture_output=True, text=True, env={"LC_ALL": "C"}).stdout
        self.processor = Arm() if "aarch64" in text.splitlines()[1] else X86()
        self.instructions = [Instruction(int(address, 16), line.strip()) for address, line
                             in re.findall(r"^ +([0-9a-f]+):\t(.*)", text, re.MULTILINE)]
        relocations = subprocess.run([options.objdump, "--dynamic-reloc", options.platform],
                                     check=True, capture_output=True, text=True, env={"LC_ALL": "C"}).stdout
        self.functions = {int(address, 16): name for address, name
                          in re.findall(r"^([0-9a-f]+) R_\w+_GLOB_DAT +(\w+)", relocations, re.MULTILINE)}
        self.index = {instruction.address: i for i, instruction in enumerate(self.instructions)}
        if not self.instructions:
            raise AssertionError(f"{function} is not in {options.platform}")

    @staticmethod
    def moved(value, amount):
        if value is None or (value[0] != STACK and abs(value[1] + amount) > 4096):
            return None
        return (value[0], value[1] + amount)

    def load(self, instruction, state, address, kind, accesses):
        """A load from the stack returns what is there, any other a value named by its address and place."""
        if address and address[0] == STACK:
            return state.get(address)
        if address and address[0][0] == PAGE:
            function = self.functions.get(address[0][1] + address[1])
            return ((FUNCTION, function), 0) if function else None
        accesses.append((kind, address, None))
        return (("value of", address, instruction.address), 0)

    def start(self):
        registers = [f"x{i}" for i in range(31)] + [f"r{i}" for i in range(8, 16)] + [
            "ax", "bx", "cx", "dx", "si", "di", "bp", STACK]
        return {register: (register, 0) for register in registers}

    def successors(self, i):
        instruction = self.instructions[i]
        if self.processor.is_end(instruction.name):
            return []
        jumps, continues = self.processor.jump(instruction.name)
        targets = [i + 1] if continues and i + 1 < len(self.instructions) else []
        if jumps:
            targets.append(self.index.get(instruction.target))  # None: leaves the function
        return targets

    def first(self, wanted):
        """Returns the index and state after the first instruction for which wanted(accesses) holds, and its result."""
        queue, seen = [(0, self.start())], {0}
        for i, before in queue:
            state = dict(before)
            found = wanted(self.processor.step(self, self.instructions[i], state))
            if found:
                return i, state, found
            for successor in self.successors(i):
                if successor is not None and successor not in seen:
                    seen.add(successor)
                    queue.append((successor, state))
        return None

    def paths(self, i, state, relevant, phase, advance):
        """Follows all paths from after instruction i. advance(phase, access) returns the next phase, None at the end of
        interest; relevant(symbol) selects the values to keep. Yields the phases in which the function is left."""
        def kept(values):
            return {place: value for place, value in values.items()
                    if value is not None and (value[0][0] in (PAGE, FUNCTION) or relevant(value[0]))}

        queue = [(successor, kept(state), phase) for successor in self.successors(i)]
        seen = set()
        while queue:
            i, state, phase = queue.pop()
            if i is None:
                yield phase
                continue
            key = (i, phase, frozenset(state.items()))
            if key in seen:
                continue
            seen.add(key)
            if len(seen) > MAX_STATES:
                raise AssertionError("too many states")
            state = dict(state)
            for access in self.processor.step(self, self.instructions[i], state):
                phase = advance(phase, access)
                if phase is None:
                    break
            if phase is None:
                continue
            successors = self.successors(i)
            if not successors:
                yield phase
            queue += [(successor, kept(state), phase) for successor in successors]


def is_value_of(value, address):
    return value is not None and value[1] == 0 and value[0][0] == "value of" and value[0][1] == address


class Reader(unittest.TestCase):
    def setUp(self):
        self.code = Code("DAL_VELD_Read")
        self.fences = self.code.processor.fences_needed

        def tests_parity(accesses):
            return next((value for kind, value, _ in accesses
                         if kind == "test" and value and value[0][0] == "value of" and value[0][1]), None)

        found = self.code.first(tests_parity)
        self.assertIsNotNone(found, "no load of the version whose lowest bit is tested")
        self.at, self.state, self.before = found
        self.version = self.before[0][1]

    def test_the_first_load_acquires(self):
        load = self.code.instructions[self.code.index[self.before[0][2]]]
        self.assertIn(load.name, ("ldar", "ldapr") if self.fences else ("mov",), load.operands)

    def test_the_version_is_loaded_again_after_the_copy(self):
        copies = []

        def advance(phase, access):
            kind, what, other = access
            if kind == "call" and what == "memcpy":
                self.assertEqual(phase[0], "reading", "one copy per read")
                copies.append(phase)
                return ("copied", False, False)
            if kind == "call":
                self.assertEqual(phase[0], "reading", f"a call of {what} before the version is compared")
            if kind == "fence":
                self.assertIn(what, ("ishld", "ish"))
                return (phase[0], True, False)
            if kind in ("load", "acquire") and what == self.version:
                self.assertTrue(phase[1] or not self.fences, "no fence before the second load")
                return (phase[0], phase[1], True)
            if kind == "compare" and self.before in (what, other):
                second = other if what == self.before else what
                self.assertTrue(is_value_of(second, self.version), "the second value is not a load of the version")
                self.assertTrue(phase[2], "the second load precedes the copy")
                return None
            return phase

        def relevant(symbol):
            return symbol in (STACK, self.version[0], self.before[0]) or \
                (symbol[0] == "value of" and symbol[1] == self.version)

        for phase in self.code.paths(self.at, self.state, relevant, ("reading", False, False), advance):
            # An odd version leaves the function before anything is copied.
            self.assertEqual(phase[0], "reading", "the function is left with an unchecked copy")
        self.assertTrue(copies, "memcpy is not called: the compiler has inlined the copy")


class Writer(unittest.TestCase):
    def test_write_sections_are_ordered(self):
        code = Code("DAL_VELD_Delete")
        fences = code.processor.fences_needed

        def increments(access):
            kind, address, value = access
            return kind in ("store", "release") and address and value and value[1] == 1 and \
                is_value_of((value[0], 0), address)

        found = code.first(lambda accesses: next((access for access in accesses if increments(access)), None))
        self.assertIsNotNone(found, "the version is never incremented")
        at, state, (_, version, _) = found
        ends = []

        def advance(phase, access):
            kind, what, _ = access
            if kind == "fence" and what in ("ish", "ishst"):
                return "changing"
            if increments(access) and what == version:
                self.assertEqual(phase, "changing", "the version becomes even before anything has changed")
                self.assertEqual(kind, "release" if fences else "store", "the even version is not released")
                ends.append(kind)
                return None
            if kind in ("store", "release", "call"):
                self.assertEqual(phase, "changing" if fences else phase, f"no fence before a {kind}")
                self.assertNotEqual(what, "pthread_mutex_unlock", "the version is odd when the lock is released")
                return "changing"
            return phase

        def relevant(symbol):
            return symbol in (STACK, version[0]) or (symbol[0] == "value of" and symbol[1] == version)

        for _ in code.paths(at, state, relevant, "odd", advance):
            self.fail("the function is left with an odd version")
        self.assertTrue(ends, "the version never becomes even")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("platform", "objdump"):
        parser.add_argument("--" + option, required=True)
    _, rest = parser.parse_known_args(namespace=options)
    unittest.main(argv=[sys.argv[0], *rest])
