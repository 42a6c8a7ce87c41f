"""The exception whose text is shown to the user."""


class UserError(Exception):
    """A mistake in the input. The text names the file, and the block if there is one."""
