#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks a compound index against its table, from the bytes of both.

    check_cdx.py TABLE.DBF TABLE.CDX

Walks every tree of the index, makes each key anew from the table's records, and
looks at all that a reader may rely on: every record once and in order, the counts
in the leaves, the links between neighbours, the keys in the branches, the free
blocks, and that each block of the file has one use. Prints what is wrong, a line
each, and ends with 1; or prints what there is.
"""

import datetime
import re
import struct
import sys

BLOCK = 512
NONE = 0xFFFFFFFF


class Table:
    def __init__(self, data):
        self.count, header, self.length = struct.unpack_from("<IHH", data, 4)
        self.data, self.header = data, header
        self.fields = {}
        offset = 1
        at = 32
        while data[at] != 0x0D:
            name = data[at:at + 11].split(b"\0")[0].decode()
            kind = chr(data[at + 11])
            width = data[at + 16] + (256 * data[at + 17] if kind == "C" else 0)
            self.fields[name] = (kind, offset, width)
            offset += width
            at += 32
        if offset != self.length:
            raise ValueError("the fields do not make a record")

    def text(self, record, name):
        kind, offset, width = self.fields[name]
        at = self.header + (record - 1) * self.length + offset
        return self.data[at:at + width]

    def deleted(self, record):
        return self.data[self.header + (record - 1) * self.length] == ord("*")


def number(text):
    found = re.match(rb"\s*([-+]?\d*\.?\d*)", text).group(1)
    return float(found) if re.search(rb"\d", found) else 0.0


def julian(text):
    if not text.strip():
        return 0.0
    date = datetime.date(int(text[:4]), int(text[4:6]), int(text[6:8]))
    return float(date.toordinal() + 1721425)


class Key:
    """A key expression: a field, or a sum of texts."""

    def __init__(self, table, source):
        self.table = table
        self.terms = source.split("+")
        # "STR(A,10,2)" holds no plus.
        kinds = [table.fields[term][0] for term in self.terms if term in table.fields]
        self.kind = kinds[0] if len(self.terms) == 1 and kinds else "C"
        self.kind = {"F": "N"}.get(self.kind, self.kind)

    def term(self, record, term):
        call = re.fullmatch(r"STR\((\w+),(\d+),(\d+)\)", term)
        if call:
            value = number(self.table.text(record, call.group(1)))
            width, decimals = int(call.group(2)), int(call.group(3))
            text = f"{value:{width}.{decimals}f}"
            return (text if len(text) <= width else "*" * width).encode()
        call = re.fullmatch(r"(DTOS|UPPER)\((\w+)\)", term)
        if call:
            text = self.table.text(record, call.group(2))
            return text.upper() if call.group(1) == "UPPER" else text
        return self.table.text(record, term)

    def value(self, record):
        """The number of a numeric or date key; the bytes of another."""
        text = b"".join(self.term(record, term) for term in self.terms)
        if self.kind == "N":
            return number(text)
        if self.kind == "D":
            return julian(text)
        if self.kind == "L":
            return b"T" if text in b"TtYy" else b"F"
        return text


def passes(table, record, source):
    if not source:
        return True
    if source == ".NOT.DELETED()":
        return not table.deleted(record)
    if source in table.fields:
        return table.text(record, source) in b"TtYy"
    field, sign, limit = re.fullmatch(r"(\w+)([<>])(-?\d+)", source).groups()
    value = number(table.text(record, field))
    return value > int(limit) if sign == ">" else value < int(limit)


def decoded_double(key):
    raw = bytes([key[0] - 128]) + key[1:] if key[0] & 128 else bytes(255 - c for c in key)
    return struct.unpack(">d", raw)[0]


def shared(a, b):
    count = 0
    while count < len(a) and a[count] == b[count]:
        count += 1
    return count


class Index:
    def __init__(self, data):
        self.data = data
        self.faults = []
        self.used = {}

    def fault(self, *words):
        self.faults.append(" ".join(str(word) for word in words))

    def take(self, address, use):
        if address % BLOCK or address + BLOCK > len(self.data):
            self.fault("no block at", address, "for", use)
            return None
        if address in self.used:
            self.fault("block", address, "is", self.used[address], "and", use)
            return None
        self.used[address] = use
        return self.data[address:address + BLOCK]

    def header(self, address):
        first = self.take(address, "a header")
        second = self.take(address + BLOCK, "a header's texts")
        if first is None or second is None:
            return None
        root, free, version, length, kind, signature = struct.unpack_from("<IIIHBB", first)
        descending, key_text, filter_text, _, key_text2 = struct.unpack_from("<HHHHH", first, 502)
        if key_text != key_text2:
            self.fault("header", address, "gives two lengths of the key's expression")
        texts = second[:key_text2 + filter_text]
        expression = texts[:key_text2]
        condition = texts[key_text2:]
        if not kind & 0x80 and (expression[-1:] != b"\0" or condition[-1:] != b"\0"):
            self.fault("header", address, "has texts without their end")
        return {"root": root, "free": free, "version": version, "length": length, "kind": kind,
                "descending": descending, "expression": expression[:-1].decode(),
                "filter": condition[:-1].decode(), "mark": first[16:24], "signature": signature}

    def leaf(self, address, block, length, pad):
        free, mask, dup_mask, trail_mask = struct.unpack_from("<HIBB", block, 12)
        bits, dup_bits, trail_bits, size = struct.unpack_from("<BBBB", block, 20)
        count = struct.unpack_from("<H", block, 2)[0]
        width = length.bit_length()
        if (dup_bits, trail_bits) != (width, width):
            self.fault("leaf", address, "has", dup_bits, trail_bits, "bits for counts, not", width)
        wanted = 255 >> (8 - width % 8)
        if (dup_mask, trail_mask) != (wanted, wanted):
            self.fault("leaf", address, "has masks", dup_mask, trail_mask, "for counts")
        if mask != (1 << bits) - 1 or bits < 12:
            self.fault("leaf", address, "has mask", mask, "for", bits, "bits")
        if size * 8 != bits + dup_bits + trail_bits and bits != 32:
            self.fault("leaf", address, "has fields of", size, "bytes")
        entries = []
        end = BLOCK
        before = None
        for i in range(count):
            info = int.from_bytes(block[24 + i * size:24 + (i + 1) * size], "little")
            record = info & mask
            dup = info >> bits & dup_mask
            trail = info >> (bits + dup_bits) & trail_mask
            stored = length - dup - trail
            if stored < 0 or end - stored < 24 + count * size:
                self.fault("leaf", address, "entry", i, "does not fit")
                break
            end -= stored
            key = (before[:dup] if before else b"") + block[end:end + stored] + pad * trail
            if len(key) != length:
                self.fault("leaf", address, "entry", i, "shares bytes with nothing")
                break
            pads = min(length - len(key.rstrip(pad)), trail_mask)
            dups = min(shared(before, key) if before else 0, length - pads, dup_mask)
            if trail != pads:
                self.fault("leaf", address, "entry", i, "counts", trail, "pad bytes of", pads)
            if dup != dups:
                self.fault("leaf", address, "entry", i, "counts", dup, "shared bytes of", dups)
            entries.append((key, record))
            before = key
        if free != end - 24 - count * size:
            self.fault("leaf", address, "counts", free, "free bytes, has", end - 24 - count * size)
        return entries

    def tree(self, root, length, pad, what):
        """All entries, level by level from the root down. The depth, and the leaves."""
        level = [(root, None)]
        depth = 0
        leaves = 0
        while True:
            blocks = [self.take(address, "a node of " + what) for address, _ in level]
            if None in blocks:
                return [], depth, leaves
            kinds = {struct.unpack_from("<H", block)[0] & 2 for block in blocks}
            if len(kinds) != 1:
                self.fault(what, "has leaves and branches on level", depth)
                return [], depth, leaves
            below, entries = [], []
            for i, ((address, largest), block) in enumerate(zip(level, blocks)):
                attributes, count, left, right = struct.unpack_from("<HHII", block)
                if bool(attributes & 1) != (depth == 0):
                    self.fault("node", address, "of", what, "has attributes", attributes)
                if left != (level[i - 1][0] if i > 0 else NONE):
                    self.fault("node", address, "of", what, "has left neighbour", left)
                if right != (level[i + 1][0] if i + 1 < len(level) else NONE):
                    self.fault("node", address, "of", what, "has right neighbour", right)
                if count == 0 and (depth > 0 or not attributes & 2):
                    self.fault("node", address, "of", what, "is empty")
                if attributes & 2:
                    own = self.leaf(address, block, length, pad)
                else:
                    own = []
                    for j in range(min(count, 500 // (length + 8))):
                        at = 12 + j * (length + 8)
                        key = block[at:at + length]
                        record, child = struct.unpack_from(">II", block, at + length)
                        own.append((key, record))
                        below.append((child, (key, record)))
                    if len(own) != count:
                        self.fault("node", address, "of", what, "has too many entries")
                if largest is not None and own and own[-1] != largest:
                    self.fault("node", address, "of", what, "ends with", own[-1],
                               "where its parent says", largest)
                entries += own
            if not below:
                leaves = len(level)
                break
            level = below
            depth += 1
        for a, b in zip(entries, entries[1:]):
            if a >= b:
                self.fault(what, "has", a, "before", b)
        return entries, depth + 1, leaves

    def free_list(self, first):
        count = 0
        while first != NONE:
            block = self.take(first, "free")
            if block is None:
                return count
            attributes, keys, first, _ = struct.unpack_from("<HHII", block)
            if attributes or keys:
                self.fault("a free block is in use")
            count += 1
        return count


def compare(index, table, name, head, entries):
    key = Key(table, head["expression"])
    found = {}
    for bytes_, record in entries:
        if record in found:
            index.fault(name, "has record", record, "twice")
        found[record] = bytes_
    values = {}
    for record in range(1, table.count + 1):
        if passes(table, record, head["filter"]):
            values[record] = key.value(record)
    for record, bytes_ in found.items():
        if record not in values:
            index.fault(name, "has record", record, "that does not belong to it")
            continue
        value = values[record]
        if key.kind in "ND":
            near = abs(decoded_double(bytes_) - value) <= 1e-13 * abs(value)
            if not near:
                index.fault(name, "has", decoded_double(bytes_), "for", value, "of record", record)
        elif bytes_ != value[:head["length"]].ljust(head["length"], b" "):
            index.fault(name, "has", bytes_, "for", value, "of record", record)
    if head["kind"] & 1:
        if len(set(found.values())) != len(found):
            index.fault(name, "has a key twice")
        missing = set(values.values()) - {values[record] for record in found if record in values}
    else:
        missing = set(values) - set(found)
    if missing:
        index.fault(name, "misses", len(missing), "for example", sorted(missing)[0])


def main():
    with open(sys.argv[1], "rb") as file:
        table = Table(file.read())
    with open(sys.argv[2], "rb") as file:
        index = Index(file.read())
    if len(index.data) % BLOCK:
        index.fault("the file is no whole number of blocks")
    head = index.header(0)
    if head["kind"] != 0xE0 or head["length"] != 10:
        index.fault("the tag of tags has type", head["kind"], "and keys of", head["length"])
    if head["mark"] == b"CHANGING":
        index.fault("the file was left in the midst of a change")
    names, _, _ = index.tree(head["root"], 10, b" ", "the tag of tags")
    lines = []
    for padded, address in names:
        name = padded.decode().rstrip()
        own = index.header(address)
        if own is None:
            continue
        if own["kind"] & ~9 != 0x60 or bool(own["kind"] & 8) != bool(own["filter"]):
            index.fault(name, "has type", own["kind"])
        pad = b" " if Key(table, own["expression"]).kind == "C" else b"\0"
        entries, depth, leaves = index.tree(own["root"], own["length"], pad, name)
        compare(index, table, name, own, entries)
        lines.append(f"{name}: {len(entries)} keys, {depth} levels, {leaves} leaves")
    free = index.free_list(head["free"])
    lost = len(index.data) // BLOCK - len(index.used)
    if lost:
        index.fault(lost, "blocks are neither used nor free")
    if index.faults:
        print("\n".join(index.faults[:20]))
        return 1
    print("\n".join(lines))
    print(f"{len(index.data) // BLOCK} blocks, {free} free")
    return 0


if __name__ == "__main__":
    sys.exit(main())
