#!/usr/bin/env python3
"""Shows Doxygen a header of the C interface as it wants it: the headers are for people first.

A comment in front of a declaration or behind a member documents it; a line "---- Title ----" begins a group, and a
header without such lines is one. Each group shows the example that answers its question.
"""
import pathlib
import re
import sys

EXAMPLES = {  # of a group, or of a header's part before its first: a file, or a few lines
    "Boards": "list_cameras.c",
    "Cameras": "read_write.c",
    "Features": "read_write.c",
    "Acquisition": "acquire.c",
    "Diagnostics": "several_cameras.c",
    "What a feature is": "read_write.c",
    "Its neighbours": "read_write.c",
    "Its bytes, and the camera's": "read_write.c",
    "Changes": "qt_signals.cpp",
    "Many at once": "int code = Gbe_prefetch(camera, NULL, 0); /* all features */",
    "diagnostics": "GbeLinkStatistics figures;\nint code = Gbe_getLinkStatistics(camera, &figures);",
    "images": "save_image.c",
    "settings": "settings.c",
    "gige": "list_cameras.c",
    "features": "read_write.c",
    "status": "read_write.c",
}
HEADING = re.compile(r"/\* ---- (.*?) -+ \*/")


def group(stem, title):
    if title not in EXAMPLES:
        sys.exit(f"{stem}.h: the group \"{title}\" has no example: docs/reference_filter.py")
    name = re.sub(r"\W+", "_", f"{stem} {title}".lower())
    shown = EXAMPLES[title]
    lines = f"\\include {shown}" if re.fullmatch(r"\w+\.\w+", shown) else f"\\code{{.c}}\n{shown}\n\\endcode"
    # The lines of an example may have comments of their own.
    return f"/// \\defgroup {name} {title[0].upper() + title[1:]}\n" + re.sub("^", "/// ", f"{lines}\n@{{", flags=re.MULTILINE)


def like_the_one_before(text):
    """A call that follows another without a line between shares its comment."""
    previous = end = None
    parts = []
    for call in re.finditer(r"^GBE_API[^;]*?\b(\w+)\([^;]*;\n", text, re.MULTILINE):
        parts.append(text[end or 0 : call.start()])
        if call.start() == end:
            parts.append(f"/** \\copydoc {previous} */\n")
        parts.append(call[0])
        previous, end = call[1], call.end()
    return "".join(parts) + text[end or 0 :]


def main(path):
    text, stem = path.read_text("utf-8"), path.stem
    text = re.sub(r"^(\s*[^\s/*][^\n]*?[;,{\w)]) +/\* ", r"\1 /**< ", text, flags=re.MULTILINE)  # behind a member
    text = like_the_one_before(text)
    head, body = re.match(r"/\* (.*?)\*/\n(.*)", text, re.DOTALL).groups()
    titles = [stem] + HEADING.findall(body)
    body = HEADING.sub(lambda found: "/** @} */\n" + group(stem, found[1]), body)
    body = re.sub(r"^(\s*)/\* ", r"\1/** ", body, flags=re.MULTILINE)
    first, rest = re.match(r"(.*?#ifdef __cplusplus\nextern \"C\" \{\n#endif\n|.*?#define LIOMOL_STATUS_H\n)(.*)", body, re.DOTALL).groups()
    last = rest.rfind("#ifdef __cplusplus")
    end = last if last > 0 else rest.rfind("#endif")
    print(f"/** \\file\n * {head}*/\n{first}{group(stem, titles[0])}{rest[:end]}/** @}} */\n{rest[end:]}")


main(pathlib.Path(sys.argv[1]))
