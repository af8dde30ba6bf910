"""Makes a JSON document of about so many values, always the same one: an array
of numbers, of strings or of nested records, or one object."""


class Draw:
    """A fixed sequence of whole numbers."""

    def __init__(self):
        self.state = 0

    def below(self, limit):
        self.state = (self.state * 69069 + 1) % 2**32
        return self.state * limit >> 32

    def number(self):
        if self.below(2):
            return str(self.below(1000000) - 500000)
        return f"{self.below(360) - 180}.{self.below(1000000):06}"

    def text(self):
        words = ""
        for _ in range(self.below(8) + 1):
            start = self.below(20)
            words += "lorem ipsum dolor sit amet"[start:start + 1 + self.below(8)]
        if self.below(8) == 0:
            words = f'{words}\\n\\"{words}\\"'
        return f'"{words}"'

    def record(self, number):
        """Six values."""
        return (f'{{"id": {number}, "name": {self.text()}, "place": '
                f'{{"x": {self.number()}, "y": {self.number()}}}}}')

    def member(self, number):
        return f'"key {number}": {self.number()}'


def document(kind, count):
    draw = Draw()
    make = {"numbers": lambda number: draw.number(),
            "strings": lambda number: draw.text(),
            "records": draw.record, "object": draw.member}[kind]
    if kind == "records":
        count = (count + 5) // 6
    begin, end = "{}" if kind == "object" else "[]"
    values = ",\n".join(make(number) for number in range(1, count + 1))
    return f"{begin}\n{values}\n{end}\n"
