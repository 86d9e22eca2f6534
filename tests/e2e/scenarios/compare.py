# SPDX-License-Identifier: Apache-2.0
"""A schema and the agent must agree about each file."""

import json
import subprocess
from pathlib import Path

import jsonschema


class Comparison:
    """Compares a schema with the agent's own check, which the option `check` of its program runs."""

    def __init__(self, agent: str, check: str, schema: str) -> None:
        document = json.loads(Path(schema).read_text())
        jsonschema.Draft7Validator.check_schema(document)
        self.validator = jsonschema.Draft7Validator(document)
        self.command = [agent, check]
        self.failures = 0

    def agent_accepts(self, path: Path) -> bool:
        return subprocess.run([*self.command, path], stdout=subprocess.DEVNULL, check=False).returncode == 0

    def compare(self, document: object, path: Path, expected: bool) -> None:
        """The file `path` has this document; both should accept it, or both refuse it."""
        by_schema, by_agent = self.validator.is_valid(document), self.agent_accepts(path)
        if by_schema != expected or by_agent != expected:
            self.failures += 1
            verdict = {True: "accepts", False: "refuses"}
            print(f"the schema {verdict[by_schema]}, the agent {verdict[by_agent]}: {json.dumps(document)[:200]}")

    def compare_all(self, documents: list, example: Path, expected: bool) -> None:
        """Compares documents, each of which is written to the file `example`."""
        for document in documents:
            example.write_text(json.dumps(document))
            self.compare(document, example, expected)
