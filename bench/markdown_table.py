"""Tables as they stand in docs/performance.md."""


def print_table(rows, left):
    """Prints rows of texts, the first of which is the header. `left`: the columns that are aligned to the left."""
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    lines = [[cell.ljust(width) if i in left else cell.rjust(width) for i, (cell, width) in enumerate(zip(row, widths))] for row in rows]
    lines.insert(1, ["-" * width if i in left else "-" * (width - 1) + ":" for i, width in enumerate(widths)])
    for line in lines:
        print("| " + " | ".join(line) + " |")


def number(value):
    if value is None:
        return "-"
    return f"{value:,.0f}" if value >= 100 else f"{value:#.3g}".rstrip(".") if value >= 0.01 else f"{value:.5f}"
