"""Which query texts say nothing, so that the program searches by shape whatever the method."""


def is_meaningless(text):
    """Under 3 bytes, blanks and digits alone, unprintable, or a made-up name of a CAD program."""
    return (len(text.encode("utf-8", "surrogatepass")) < 3
            or all(letter in " \t\n\v\f\r0123456789" for letter in text)
            or not all(map(is_printable, text))
            or text.startswith(("A$C", "a$c")))


def is_printable(letter):
    code = ord(letter)
    is_noncharacter = 0xFDD0 <= code <= 0xFDEF or code & 0xFFFE == 0xFFFE
    return 0x20 <= code <= 0x7E or code >= 0xA0 and not is_noncharacter
