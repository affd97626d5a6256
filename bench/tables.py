"""Plain-text and Markdown rendering of the benchmark tables."""


def plain(columns, table):
    widths = [max(len(r[k]) for r in [columns] + table) for k in range(len(columns))]
    return '\n'.join('  '.join(r[k].ljust(widths[k]) for k in range(len(columns))).rstrip()
                     for r in [columns] + table)


def markdown(columns, table):
    lines = ['| ' + ' | '.join(columns) + ' |', '|' + '---|' * len(columns)]
    lines += ['| ' + ' | '.join(row) + ' |' for row in table]
    return '\n'.join(lines) + '\n'
