"""json as the firmware writes it: no ASCII escaping, ", " and ": " by default."""

import json


def _str(s):
    out = ['"']
    for ch in s:
        if ch == '"' or ch == '\\':
            out.append('\\' + ch)
        elif ch >= ' ':
            out.append(ch)
        elif ch == '\n':
            out.append('\\n')
        elif ch == '\r':
            out.append('\\r')
        elif ch == '\t':
            out.append('\\t')
        else:
            out.append('\\u%04x' % ord(ch))
    out.append('"')
    return ''.join(out)


def _dump(obj, item_sep, key_sep, out):
    if obj is None:
        out.append('null')
    elif obj is True:
        out.append('true')
    elif obj is False:
        out.append('false')
    elif isinstance(obj, str):
        out.append(_str(obj))
    elif isinstance(obj, (list, tuple)):
        out.append('[')
        for i, v in enumerate(obj):
            if i:
                out.append(item_sep)
            _dump(v, item_sep, key_sep, out)
        out.append(']')
    elif isinstance(obj, dict):
        out.append('{')
        for i, (k, v) in enumerate(obj.items()):
            if i:
                out.append(item_sep)
            out.append(_str(k) if isinstance(k, str) else '"%s"' % (k,))
            out.append(key_sep)
            _dump(v, item_sep, key_sep, out)
        out.append('}')
    else:
        out.append(repr(obj))


def json_dumps(obj, separators=None):
    item_sep, key_sep = separators if separators is not None else (', ', ': ')
    out = []
    _dump(obj, item_sep, key_sep, out)
    return ''.join(out)


def json_loads(text):
    if isinstance(text, (bytes, bytearray, memoryview)):
        text = bytes(text).decode('utf-8', 'surrogateescape')
    try:
        return json.loads(text)
    except ValueError:
        raise ValueError('syntax error in JSON') from None
