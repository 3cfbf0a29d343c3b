"""Checks JSON documents against a JSON schema: the keywords that the project's schemas use. Others are refused, so that
no rule of a schema goes unchecked."""

import re

TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "null": type(None)}
SAYS_NOTHING = {"$schema", "$defs", "title", "description"}


def has_type(value, name):
    if name == "integer":
        return isinstance(value, int) and not isinstance(value, bool)
    if name == "number":
        return isinstance(value, (int, float)) and not isinstance(value, bool)
    return isinstance(value, TYPES[name])


def same(value, other):
    return value == other and isinstance(value, bool) == isinstance(other, bool)


def faults(value, schema, root=None, place="$"):
    """What is wrong with `value`, a text each; an empty list when nothing is."""
    root = schema if root is None else root
    found = []

    def check(good, text):
        if not good:
            found.append(f"{place}: {text}: {value!r}"[:300])

    is_number = has_type(value, "number")
    for keyword, rule in schema.items():
        if keyword in SAYS_NOTHING:
            continue
        if keyword == "$ref":
            target = root
            for name in rule.removeprefix("#/").split("/"):
                target = target[name]
            found += faults(value, target, root, place)
        elif keyword == "anyOf":
            tried = [faults(value, choice, root, place) for choice in rule]
            if all(tried):
                found += min(tried, key=len)
        elif keyword == "type":
            names = [rule] if isinstance(rule, str) else rule
            check(any(has_type(value, name) for name in names), f"is not of type {rule}")
        elif keyword == "const":
            check(same(value, rule), f"is not {rule!r}")
        elif keyword == "enum":
            check(any(same(value, choice) for choice in rule), f"is none of {rule}")
        elif keyword == "minimum":
            check(not is_number or value >= rule, f"is less than {rule}")
        elif keyword == "exclusiveMinimum":
            check(not is_number or value > rule, f"is not more than {rule}")
        elif keyword == "pattern":
            check(not isinstance(value, str) or re.search(rule, value), f"does not match {rule}")
        elif keyword == "required":
            for name in rule:
                check(not isinstance(value, dict) or name in value, f"has no {name}")
        elif keyword == "properties":
            for name in rule.keys() & value.keys() if isinstance(value, dict) else ():
                found += faults(value[name], rule[name], root, f"{place}.{name}")
        elif keyword == "additionalProperties":
            assert rule is False, "only false is known"
            if isinstance(value, dict):
                for name in value.keys() - schema.get("properties", {}).keys():
                    check(False, f"has an unknown member {name}")
        elif keyword == "items":
            for i, item in enumerate(value if isinstance(value, list) else ()):
                found += faults(item, rule, root, f"{place}[{i}]")
        else:
            raise ValueError(f"the schema uses a keyword that is not checked: {keyword}")
    return found
