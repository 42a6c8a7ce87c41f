"""The one exception whose text is meant for the user."""


class UserError(Exception):
    """A mistake in the input. Its text names the file, and the block where there is one."""
