# SPDX-License-Identifier: Apache-2.0
"""Sphinx's configuration for the site that write_site makes."""

from pygments.lexers.special import TextLexer

project = "Korvane"
author = "the Korvane developers"
extensions = ["myst_parser"]
myst_heading_anchors = 4
myst_enable_extensions = ["colon_fence"]
html_theme = "furo"
html_title = "Korvane"
html_static_path = ["korvane.css"]
html_css_files = ["korvane.css"]
html_copy_source = False
html_show_sourcelink = False
html_show_copyright = False
html_show_sphinx = False
html_use_index = False
# The search would load the pages that it finds, which a browser refuses for files.
html_show_search_summary = False
highlight_language = "none"


def setup(app):
    """Blocks of bytes have no lexer of their own."""
    app.add_lexer("hex", TextLexer)
