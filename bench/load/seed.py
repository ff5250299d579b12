#!/usr/bin/env python3
"""Writes the service's seed for the load benchmark: the shipped simulation
file with the redemption limit of offer 9005 raised, so that every
redemption of a run is applied (none refused by the limit).
Usage: seed.py SHIPPED.json OUT.json"""
import json
import sys


def raise_limit(node):
    if isinstance(node, dict):
        if node.get("consumerOfferId") == "9005" and "offer" in node:
            node["offer"]["offerDetails"]["offerRules"]["individualRedeemLimit"] = "1000000000"
        for value in node.values():
            raise_limit(value)
    elif isinstance(node, list):
        for value in node:
            raise_limit(value)


with open(sys.argv[1]) as source:
    document = json.load(source)
raise_limit(document)
with open(sys.argv[2], "w") as target:
    json.dump(document, target)
