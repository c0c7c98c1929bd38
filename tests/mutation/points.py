"""Finds what can be changed in C++ code, as the compiler's parser sees it.

A template is seen once, as it is written. What the compiler evaluates, the mutant switch leaves alone (mutant.h), so
constants, template arguments and conditions of `if constexpr` are not offered.
"""
import dataclasses
import re

from clang.cindex import CursorKind as Kind, Index, TypeKind

import text_of_code as code

FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.FUNCTION_TEMPLATE,
             Kind.CONVERSION_FUNCTION}
SCOPES = {Kind.NAMESPACE, Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE, Kind.UNION_DECL,
          Kind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION, Kind.LINKAGE_SPEC, Kind.UNEXPOSED_DECL}
CASTS = {Kind.CXX_STATIC_CAST_EXPR, Kind.CXX_REINTERPRET_CAST_EXPR, Kind.CXX_CONST_CAST_EXPR,
         Kind.CXX_DYNAMIC_CAST_EXPR}
OPAQUE = {Kind.DECL_REF_EXPR, Kind.CXX_UNARY_EXPR, Kind.STATIC_ASSERT, Kind.TYPE_ALIAS_DECL, Kind.TYPEDEF_DECL}
JUMPS = {Kind.BREAK_STMT, Kind.CONTINUE_STMT}
LOOPS = {Kind.IF_STMT, Kind.WHILE_STMT, Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT, Kind.SWITCH_STMT}

# One change each; the operators of one class bind alike, and all operands go in parentheses.
SWAPPED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
           "+": "-", "-": "+", "<<": ">>", ">>": "<<", "&": "|", "|": "&"}
INTEGER = re.compile(r"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)[uUlL]*")
INTEGERS = range(TypeKind.CHAR_U.value, TypeKind.INT128.value + 1)


@dataclasses.dataclass
class Point:
    """A range of a file and what can stand there instead; the rest is put around what is there (rewrite.py)."""
    start: int
    end: int
    form: str  # "expression", "condition" or "statement"
    changes: list  # (description, other text; "" for a statement that is left out)
    reverses: bool = False  # whether one of them turns true to false and back


class Finder:
    """Collects the points of all files below a folder, each file once."""

    def __init__(self, folder):
        self.folder = str(folder)
        self.files = {}  # path: {(start, end, form): Point}, outer ones first
        self.texts = {}
        self.index = Index.create()
        self.seen = set()

    def parse(self, source, arguments):
        unit = self.index.parse(source, args=arguments)
        failed = [d for d in unit.diagnostics if d.severity >= 3]
        if failed:
            raise RuntimeError(f"{source} cannot be parsed: {failed[0]}")
        met = set()
        for cursor in unit.cursor.get_children():
            self.scope(cursor, met)
        self.seen |= met  # a file is complete only when the unit that includes it is

    # ---- Declarations

    def scope(self, cursor, met):
        file = cursor.location.file
        if file is None or not file.name.startswith(self.folder) or file.name in self.seen:
            return
        met.add(file.name)
        if cursor.kind in FUNCTIONS:
            if cursor.is_definition():
                self.function(file.name, cursor)
        elif cursor.kind in SCOPES:
            for child in cursor.get_children():
                self.scope(child, met)

    def function(self, path, cursor):
        self.path = path
        if path not in self.texts:
            with open(path, "rb") as source:
                self.texts[path] = source.read().decode("latin-1")  # one character for each byte
            self.files[path] = {}
        self.text = self.texts[path]
        if "consteval" in self.text[cursor.extent.start.offset:cursor.location.offset].split():
            return
        for child in cursor.get_children():
            if child.kind == Kind.COMPOUND_STMT:
                self.visit(child, cursor.result_type)
            elif cursor.kind == Kind.CONSTRUCTOR and child.kind.is_expression():
                self.visit(child, None)

    # ---- Statements and expressions

    def of(self, cursor):
        return self.text[cursor.extent.start.offset:cursor.extent.end.offset]

    def add(self, start, end, form, change, other):
        point = self.files[self.path].setdefault((start, end, form), Point(start, end, form, []))
        point.changes.append((change, other))
        return point

    def replace(self, cursor, other, form="expression"):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        return self.add(start, end, form, f"{code.one_line(self.text[start:end])} -> {code.one_line(other)}", other)

    def condition(self, start, end):
        text = self.text[start:end]
        if text.strip() and text != "true":
            self.add(start, end, "condition", f"{code.one_line(text)} -> not", f"!({text})")

    def drop_repeated(self):
        """A condition that is one comparison is reversed by that."""
        for points in self.files.values():
            for (start, end, form) in list(points):
                inner = points.get((start, end, "expression"))
                if form == "condition" and inner and inner.reverses:
                    del points[start, end, form]

    def leave_out(self, cursor):
        start = cursor.extent.start.offset
        end = self.text.find(";", cursor.extent.end.offset) + 1
        if self.text[cursor.extent.end.offset:end].strip() == ";":
            self.add(start, end, "statement", f"without {code.one_line(self.text[start:end])}", "")

    def visit(self, cursor, result):
        """`result`: what the enclosing function returns, as far as that is known."""
        kind = cursor.kind
        start = cursor.extent.start.offset
        children = list(cursor.get_children())
        if kind in OPAQUE:
            return
        if kind == Kind.LAMBDA_EXPR:
            result = None
        elif kind in (Kind.VAR_DECL, Kind.PARM_DECL):
            if re.search(r"\b(constexpr|constinit)\b", self.text[start:cursor.location.offset]):
                return
            children = [child for child in children if child.extent.start.offset >= cursor.location.offset and
                        self.text[child.extent.start.offset - 1] != "["]
        elif kind in CASTS:
            children = children[-1:]
        elif kind == Kind.CASE_STMT:
            children = children[1:]
        elif kind == Kind.RETURN_STMT:
            self.returned(cursor, children, result)
        elif kind in LOOPS:
            children = self.branching(cursor, children)
        elif kind == Kind.DO_STMT:
            self.condition(children[-1].extent.start.offset, children[-1].extent.end.offset)
        elif kind == Kind.CONDITIONAL_OPERATOR:
            self.condition(children[0].extent.start.offset, children[0].extent.end.offset)
        elif kind == Kind.BINARY_OPERATOR or kind == Kind.CALL_EXPR and len(children) == 3:
            self.binary(cursor, children)
        elif kind == Kind.UNARY_OPERATOR and self.of(cursor).startswith("!"):
            self.replace(cursor, f"!!({self.of(cursor)[1:]})").reverses = True
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR:
            self.replace(cursor, "false" if self.of(cursor) == "true" else "true")
        elif kind == Kind.INTEGER_LITERAL and INTEGER.fullmatch(self.of(cursor)):
            self.replace(cursor, f"({self.of(cursor)} + 1)")
        for child in children:
            if child.extent.start.offset >= start and child.extent.end.offset <= cursor.extent.end.offset:
                if self.is_statement(cursor, child, children):
                    self.leave_out(child)
                self.visit(child, result)

    def is_statement(self, parent, child, siblings):
        """Whether leaving `child` out leaves a program: an expression of its own, or a jump."""
        if not child.kind.is_expression() and child.kind not in JUMPS:
            return False
        if parent.kind == Kind.COMPOUND_STMT or parent.kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
            return True
        if parent.kind == Kind.DO_STMT:
            return child == siblings[0]
        return parent.kind in LOOPS and child.extent.start.offset > self.head(parent)[1]

    def returned(self, cursor, children, result):
        if not children:
            return self.leave_out(cursor)
        if result is not None and result.kind == TypeKind.VOID:
            return self.leave_out(cursor)
        value = children[0]
        kind = (result or value.type).get_canonical().kind
        if value.kind in (Kind.INTEGER_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR):
            return None
        if kind == TypeKind.BOOL:
            self.condition(value.extent.start.offset, value.extent.end.offset)
        elif kind.value in INTEGERS:
            self.replace(value, f"({self.of(value)}) + 1")
        return None

    def head(self, cursor):
        """Where the parentheses behind `if`, `while` and so on begin and end."""
        opening = self.text.index("(", cursor.extent.start.offset)
        return opening, code.closing(self.text, opening)

    def branching(self, cursor, children):
        opening, closing = self.head(cursor)
        start, end = opening + 1, closing
        if self.text[cursor.extent.start.offset:opening].rstrip().endswith("constexpr"):
            return [child for child in children if child.extent.start.offset > closing]
        if cursor.kind == Kind.FOR_STMT:
            start, end = code.between_semicolons(self.text, opening, closing)
        if cursor.kind in (Kind.FOR_STMT, Kind.IF_STMT, Kind.WHILE_STMT):
            declared = [child for child in children if child.kind == Kind.VAR_DECL and child.extent.end.offset <= closing]
            if not declared:
                self.condition(start, end)
            elif cursor.kind == Kind.IF_STMT:
                self.add(closing, closing, "declared", f"{code.one_line(self.text[start:end])} -> not",
                         declared[0].spelling)
        return children

    def binary(self, cursor, children):
        left, right = children[0], children[-1]
        between = self.text[left.extent.end.offset:right.extent.start.offset]
        operator = code.without_comments(between).strip()
        if operator not in SWAPPED:
            return
        with_integer = INTEGER.fullmatch(self.of(right))
        if operator in "+-" and with_integer:
            self.replace(cursor, self.of(left))
        else:
            point = self.replace(cursor, f"({self.of(left)}) {SWAPPED[operator]} ({self.of(right)})")
            point.reverses = operator in ("==", "!=")
        if operator in ("<", ">=") and with_integer:
            children.pop()  # the next number is the same change
