"""Pictures of blocks for a page: each once, as a style that any number of cards can have."""
import base64
from pathlib import Path
from urllib.parse import quote

TYPES = {".svg": "image/svg+xml", ".png": "image/png", ".jpg": "image/jpeg", ".jpeg": "image/jpeg",
         ".webp": "image/webp", ".gif": "image/gif"}


class Pictures:
    """The pictures of a folder by the names of their files, a block's code or a query's file."""

    def __init__(self, folder):
        self.paths = {path.stem: path for path in sorted(Path(folder).iterdir())
                      if path.suffix.lower() in TYPES} if folder else {}
        self.styles = {}  # path: name of the style

    def style_of(self, name):
        """The style that shows the picture, or None where there is none."""
        path = self.paths.get(name)
        return None if path is None else self.styles.setdefault(path, f"p{len(self.styles)}")

    def css(self):
        """The rules of all styles that were asked for."""
        return "".join(f'.{style}{{background-image:url("{data_url(path)}")}}\n'
                       for path, style in self.styles.items())


def data_url(path):
    """The file within the page. Nothing in the text can end the rule or the style element."""
    kind = TYPES[path.suffix.lower()]
    data = path.read_bytes()
    if kind == "image/svg+xml":
        return f"data:{kind},{quote(data, safe=' /:=-.,;()')}"
    return f"data:{kind};base64,{base64.b64encode(data).decode()}"
