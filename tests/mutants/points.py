# SPDX-License-Identifier: Apache-2.0
"""Where a source can be changed, and to what.

The sources are read with clang, so that templates are changed where they are written, and once. What
runs only in the compiler is left out, since nothing can be chosen there at run time, and so is the
text that macros bring along.
"""
import dataclasses
import pathlib
import re

from clang import cindex
from clang.cindex import CursorKind, StorageClass, TypeKind

NEGATED = {"<": ">=", "<=": ">", ">": "<=", ">=": "<", "==": "!=", "!=": "=="}
SHIFTED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OTHER = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "^": "&",
         "<<": ">>", ">>": "<<", "&&": "||", "||": "&&",
         "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|="}
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
INTEGERS = {TypeKind.BOOL, TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.CHAR_S, TypeKind.SCHAR,
            TypeKind.USHORT, TypeKind.SHORT, TypeKind.UINT, TypeKind.INT, TypeKind.ULONG,
            TypeKind.LONG, TypeKind.ULONGLONG, TypeKind.LONGLONG}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.FUNCTION_TEMPLATE,
             CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR, CursorKind.LAMBDA_EXPR}
LITERALS = {CursorKind.INTEGER_LITERAL, CursorKind.CHARACTER_LITERAL, CursorKind.FLOATING_LITERAL,
            CursorKind.CXX_BOOL_LITERAL_EXPR}
JUMPS = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
LOOPS = {CursorKind.FOR_STMT, CursorKind.WHILE_STMT, CursorKind.DO_STMT,
         CursorKind.CXX_FOR_RANGE_STMT}


@dataclasses.dataclass(frozen=True)
class Change:
    """One mutant: in place of the text from start to end stands another one.

    form says how a choice at run time is written: "value" for an expression, "drop" for a statement
    that is an expression, "skip" for any other statement, "after" for a condition that is declared,
    behind which the tested value is added.
    """
    start: int
    end: int
    form: str
    text: str
    shown: str


def one_line(text):
    return " ".join(COMMENT.sub(" ", text).split())


class Finder:
    """Goes through the sources that make a library."""

    def __init__(self, root, directories):
        self.root = root
        self.directories = [root / directory for directory in directories]
        self.texts = {}
        self.changes = {}

    def read(self, source, arguments):
        """Adds what one translation unit shows."""
        unit = cindex.Index.create().parse(str(source), args=arguments)
        errors = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
        if errors:
            raise SystemExit(f"mutate: clang cannot read {source}: {errors[0]}")
        for cursor in unit.cursor.get_children():
            path = self.own_file(cursor)
            if path is not None:
                FileWalk(self, path).declaration(cursor)

    def own_file(self, cursor):
        if cursor.location.file is None:
            return None
        path = pathlib.Path(cursor.location.file.name).resolve()
        return path if any(path.is_relative_to(d) for d in self.directories) else None

    def text(self, path):
        if path not in self.texts:
            self.texts[path] = path.read_text(encoding="ascii")
        return self.texts[path]

    def add(self, path, change):
        self.changes.setdefault(path, {})[(change.start, change.end, change.shown)] = change


class FileWalk:
    """Walks the declarations of one file."""

    def __init__(self, finder, path):
        self.finder = finder
        self.path = path
        self.text = finder.text(path)
        self.result = None   # type that the function around returns
        self.final = None    # its last statement, where dropping a return is no program any more

    # Text of a cursor, empty where a macro hides it.

    def span(self, cursor):
        extent = cursor.extent
        if extent.start.file is None or pathlib.Path(extent.start.file.name).resolve() != self.path:
            return None
        start, end = extent.start.offset, extent.end.offset
        return (start, end) if start < end else None

    def source(self, cursor):
        span = self.span(cursor)
        return self.text[span[0]:span[1]] if span else ""

    def is_macro(self, cursor):
        return re.match(r"(KELVO_|offsetof)\w*\(", self.source(cursor)) is not None

    def add(self, cursor, form, text, shown=None):
        start, end = self.span(cursor)
        original = one_line(self.text[start:end])
        self.finder.add(self.path, Change(start, end, form, text,
                                          shown or f"{original} => {text}"))

    # Declarations

    def declaration(self, cursor):
        kind = cursor.kind
        if kind == CursorKind.STATIC_ASSERT:
            return
        if kind in FUNCTIONS:
            self.function(cursor)
        elif kind in (CursorKind.VAR_DECL, CursorKind.FIELD_DECL):
            self.variable(cursor)
        elif kind == CursorKind.ENUM_DECL:
            return
        else:
            for child in cursor.get_children():
                self.declaration(child)

    def words_before_body(self, cursor):
        source = self.source(cursor)
        return COMMENT.sub(" ", source.split("{", 1)[0]).split()

    def function(self, cursor):
        if "consteval" in self.words_before_body(cursor):
            return
        outer = self.result, self.final
        self.result = None if cursor.kind == CursorKind.LAMBDA_EXPR else cursor.result_type
        for child in cursor.get_children():
            if child.kind == CursorKind.COMPOUND_STMT:
                self.final = self.last_statement(child)
                self.statement(child)
            elif child.kind.is_expression():  # of a constructor's list of members
                self.expression(child)
        self.result, self.final = outer

    def last_statement(self, body):
        """The last statement if all of the function ends there, in whatever form."""
        children = list(body.get_children())
        return children[-1] if children else None

    def variable(self, cursor):
        """Only what is initialised when the program comes there."""
        words = self.words_before_body(cursor)
        fixed = {"constexpr", "constinit", "static", "thread_local"}
        if fixed & set(re.split(r"\W+", " ".join(words).split("=")[0])):
            return
        is_local = cursor.kind == CursorKind.FIELD_DECL or (
            cursor.semantic_parent.kind not in (CursorKind.NAMESPACE, CursorKind.TRANSLATION_UNIT))
        if not is_local or cursor.storage_class == StorageClass.STATIC:
            return
        span = self.span(cursor)
        if span is None:
            return
        name_end = cursor.location.offset + len(cursor.spelling)
        initialiser = re.search(r"[={(]", self.text[name_end:span[1]])
        if initialiser is None:
            return
        for child in cursor.get_children():
            at = self.span(child)
            if child.kind.is_expression() and at and at[0] >= name_end + initialiser.start():
                self.expression(child)

    # Statements

    def statement(self, cursor):
        kind = cursor.kind
        if self.span(cursor) is None:
            return
        if self.is_macro(cursor):
            self.add(cursor, "skip", "", f"{one_line(self.source(cursor))} => nothing")
        elif kind == CursorKind.COMPOUND_STMT:
            for child in cursor.get_children():
                self.statement(child)
        elif kind.is_expression():
            self.drop(cursor)
            self.expression(cursor)
        elif kind in JUMPS:
            self.jump(cursor)
        elif kind == CursorKind.DECL_STMT:
            for child in cursor.get_children():
                self.declaration(child)
        elif kind == CursorKind.IF_STMT:
            self.if_statement(cursor)
        elif kind in LOOPS:
            self.loop(cursor)
        elif kind == CursorKind.SWITCH_STMT:
            first, *rest = cursor.get_children()
            self.expression(first)
            for child in rest:
                self.statement(child)
        elif kind == CursorKind.CASE_STMT:
            self.statement(list(cursor.get_children())[-1])
        else:
            for child in cursor.get_children():
                self.statement(child)

    def drop(self, cursor):
        if one_line(self.source(cursor)).startswith("(void)0"):
            return
        self.add(cursor, "drop", "", f"{one_line(self.source(cursor))} => nothing")

    def jump(self, cursor):
        is_return = cursor.kind == CursorKind.RETURN_STMT
        is_void = self.result is not None and self.result.kind == TypeKind.VOID
        ends_with_return = self.final is not None and self.final.kind == CursorKind.RETURN_STMT
        if not is_return or is_void or (ends_with_return and not self.same(cursor, self.final)):
            self.add(cursor, "skip", "", f"{one_line(self.source(cursor))} => nothing")
        for child in cursor.get_children():
            self.returned(child)
            self.expression(child)

    def same(self, one, other):
        return self.span(one) == self.span(other)

    def returned(self, cursor):
        kind = self.bare(cursor).kind
        if kind in LITERALS and self.result is not None and kind != CursorKind.CHARACTER_LITERAL:
            return
        declared = self.result if self.result is not None else cursor.type
        canonical = declared.get_canonical()
        if canonical.kind == TypeKind.BOOL:
            self.negate(cursor)
        elif canonical.kind in INTEGERS or canonical.kind == TypeKind.ENUM:
            original = one_line(self.source(cursor))
            if original != "0":
                self.add(cursor, "value", f"static_cast<std::decay_t<decltype({original})>>(0)",
                         f"return {original} => return 0")
        elif canonical.kind == TypeKind.POINTER and self.source(cursor) != "nullptr":
            self.add(cursor, "value", "nullptr")

    def if_statement(self, cursor):
        children = list(cursor.get_children())
        words = self.source(cursor).split("(", 1)[0].split()
        declared = [c for c in children if c.kind in (CursorKind.VAR_DECL, CursorKind.DECL_STMT)]
        rest = [c for c in children if c not in declared]
        condition, branches = rest[0], rest[1:]
        if "constexpr" not in words:
            if declared:
                self.declared_condition(declared[0])
            else:
                self.condition(condition)
        for child in branches:
            self.statement(child)

    def declared_condition(self, variable):
        """"if (const Status st = f())"; one that is not taken means that nothing was tested."""
        name = variable.spelling
        self.declaration(variable)
        shown = one_line(self.source(variable))
        self.add(variable, "after", f"!{name}", f"if ({shown}) => inverted")
        self.add(variable, "after", "false", f"if ({shown}) => never")

    def loop(self, cursor):
        children = list(cursor.get_children())
        if cursor.kind == CursorKind.FOR_STMT:
            self.for_loop(cursor, children)
            return
        if cursor.kind == CursorKind.DO_STMT:
            body, condition = children
            self.statement(body)
            self.condition(condition)
            return
        if cursor.kind == CursorKind.WHILE_STMT:
            declared = [c for c in children if c.kind == CursorKind.VAR_DECL]
            for variable in declared:
                self.declaration(variable)
            if not declared:
                self.condition(children[0])
            self.statement(children[-1])
            return
        for child in children:  # over a range
            if child.kind.is_expression():
                self.expression(child)
        self.statement(children[-1])

    def for_loop(self, cursor, children):
        start, _ = self.span(cursor)
        first = self.text.index(";", start)
        second = first + 1 + re.match(r"('\\?.'|[^;])*", self.text[first + 1:]).end()
        body = children[-1]
        for child in children[:-1]:
            at = self.span(child)[0]
            if at < first:
                self.statement(child) if child.kind == CursorKind.DECL_STMT else self.expression(child)
            elif at < second:
                self.condition(child)
            else:
                self.expression(child)  # not dropped: a loop that stands still says nothing
        self.statement(body)

    # Expressions

    def bare(self, cursor):
        """Without what the compiler adds, and without parentheses."""
        while cursor.kind in (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR):
            children = list(cursor.get_children())
            if len(children) != 1:
                break
            cursor = children[0]
        return cursor

    def condition(self, cursor):
        self.negate(cursor)
        self.expression(cursor)

    def negate(self, cursor):
        """Inverts a condition, unless what it is made of is changed in that way anyway."""
        inner = self.bare(cursor)
        if self.operator(inner) in NEGATED or inner.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            return
        if self.span(cursor) is not None and not self.is_macro(cursor):
            original = one_line(self.source(cursor))
            self.add(cursor, "value", f"!({original})")

    def operator(self, cursor):
        """The sign of a built-in binary operator, or an empty text."""
        binary = (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR)
        if cursor.kind not in binary or self.span(cursor) is None:
            return ""
        operands = [self.span(child) for child in cursor.get_children()]
        if len(operands) != 2 or None in operands or operands[0][1] > operands[1][0]:
            return ""
        return COMMENT.sub("", self.text[operands[0][1]:operands[1][0]]).strip()

    def expression(self, cursor):
        if self.span(cursor) is None:
            return
        kind = cursor.kind
        if self.is_macro(cursor):
            if self.source(cursor).startswith("offsetof("):
                self.add_one(cursor)
            return
        if kind == CursorKind.LAMBDA_EXPR:
            self.function(cursor)
            return
        if kind == CursorKind.CXX_UNARY_EXPR:  # sizeof
            return
        if kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            self.binary(cursor)
        elif kind == CursorKind.UNARY_OPERATOR and self.source(cursor).startswith("!"):
            child, = cursor.get_children()
            self.negate(child)
        elif kind == CursorKind.CONDITIONAL_OPERATOR:
            self.negate(next(iter(cursor.get_children())))
        elif kind in LITERALS:
            self.literal(cursor)
        elif kind == CursorKind.DECL_REF_EXPR:
            self.named_constant(cursor)
            return  # what is in it are arguments of a template
        for child in cursor.get_children():
            if child.kind.is_expression():
                self.expression(child)
            elif child.kind == CursorKind.COMPOUND_STMT:
                self.statement(child)

    def binary(self, cursor):
        sign = self.operator(cursor)
        if not sign:
            return
        left, right = cursor.get_children()
        replacements = [table[sign] for table in (NEGATED, SHIFTED, OTHER) if sign in table]
        for replacement in replacements:
            self.add(cursor, "value", f"{one_line(self.source(left))} {replacement} "
                                      f"{one_line(self.source(right))}")
        if sign in ("&&", "||"):
            self.negate(left)
            self.negate(right)

    def literal(self, cursor):
        text = self.source(cursor)
        if cursor.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            if text in ("true", "false"):
                self.add(cursor, "value", "false" if text == "true" else "true")
            return
        if cursor.kind == CursorKind.CHARACTER_LITERAL:
            self.add(cursor, "value", f"static_cast<char>({text} + 1)", f"{text} => {text} + 1")
            return
        self.add_one(cursor)
        value = re.match(r"(0[xX][0-9a-fA-F]+|\d+)", text)
        if value and value.group() not in ("0", "1"):
            self.add(cursor, "value", f"{text} - 1")

    def add_one(self, cursor):
        self.add(cursor, "value", f"{one_line(self.source(cursor))} + 1")

    def named_constant(self, cursor):
        """An enumerator or a constant variable of an integer type."""
        target = cursor.referenced
        if target is None:
            return
        is_enumerator = target.kind == CursorKind.ENUM_CONSTANT_DECL
        is_constant = (target.kind == CursorKind.VAR_DECL
                       and target.type.get_canonical().kind in INTEGERS
                       and target.location.file is not None
                       and self.is_constant(target))
        if is_enumerator or is_constant:
            text = one_line(self.source(cursor))
            self.add(cursor, "value",
                     f"static_cast<std::remove_cvref_t<decltype({text})>>({text} + 1)",
                     f"{text} => {text} + 1")

    def is_constant(self, variable):
        path = pathlib.Path(variable.location.file.name).resolve()
        line = self.finder.text(path).splitlines()[variable.location.line - 1]
        return "constexpr" in line and "bool" not in line
