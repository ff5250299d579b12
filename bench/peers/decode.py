#!/usr/bin/env python3
"""Python peer of the offer-list decode benchmark: json.loads plus dataclasses
shaped like the library's records (QVCOffer and its sub-records), on the
files that qvc_bench_generate writes.

Values follow the library's readers: asIs (a text as it is, a number as its
"%@" text, None when missing or null), formatted (the same, "(null)" when
missing or null), integer (the leading integer of a text, a number truncated,
0 when missing) and present. A missing intermediate object reads every value
below it as missing; one that is present but not an object raises.

    decode.py --data-dir DIR [--sizes 100,1000,10000] [--runs 5] [--min-time 0.25]
        prints per size: decode impl=python offers=N us_per_offer=X runs=R iterations=I
    decode.py --dump FILE
        prints the listing line of every record (compare with qvc_bench_dump)
    decode.py --rss FILE
        prints: rss impl=python offers=N baseline_kib=B peak_kib=P after_kib=A native_max_rss_kib=M
"""

from __future__ import annotations

import argparse
import gc
import json
import os
import re
import resource
import statistics
import sys
import time
from dataclasses import dataclass, field
from typing import Optional


@dataclass(slots=True)
class OfferRules:
    redeemLimit: str
    transactionLimit: str
    minPurchaseLimit: str
    combinable: bool


@dataclass(slots=True)
class OfferType:
    typeDescription: Optional[str]
    percentOff: str
    amountOff: str
    cardNumber: str
    loyaltyPoint: str


@dataclass(slots=True)
class Product:
    name: Optional[str]
    productId: int
    price: str = "0"
    quantity: int = 0


@dataclass(slots=True)
class OfferDetails:
    rule: OfferRules
    type: OfferType
    products: list = field(default_factory=list)
    imageURL: Optional[str] = None


@dataclass(slots=True)
class Offer:
    consumerOfferId: Optional[str]
    offerId: str
    offerName: Optional[str]
    offerDescription: Optional[str]
    promoCode: Optional[str]
    offerCode: Optional[str]
    offerDetails: OfferDetails


_MISSING = object()
_INT64_MAX = 9223372036854775807
_LEADING_INTEGER = re.compile(r"[ \t\n\v\f\r]*([+-]?)([0-9]*)")


def _kind(value) -> str:
    if value is None:
        return "null"
    if isinstance(value, list):
        return "an array"
    if isinstance(value, dict):
        return "an object"
    return "a " + type(value).__name__


def _float_text(value: float) -> str:
    """The shortest C "%.*g" text that reads back as value, as the library writes a fraction."""
    for precision in range(1, 18):
        text = "%.*g" % (precision, value)
        if float(text) == value:
            return text
    return repr(value)


def _object_text(value) -> str:
    """The "%@" text of a value that is not null."""
    if isinstance(value, str):
        return value
    if isinstance(value, bool):
        return "1" if value else "0"
    if isinstance(value, int):
        return str(value)
    if isinstance(value, float):
        return _float_text(value)
    return json.dumps(value, separators=(",", ":"), ensure_ascii=False)


def _leaf(obj, key, where):
    if obj is _MISSING:
        return None
    if not isinstance(obj, dict):
        raise TypeError(f"{where} is {_kind(obj)}, not an object")
    return obj.get(key)


def _as_is(obj, key, where):
    value = _leaf(obj, key, where)
    return None if value is None else _object_text(value)


def _formatted(obj, key, where):
    value = _leaf(obj, key, where)
    return "(null)" if value is None else _object_text(value)


def _integer(obj, key, where):
    value = _leaf(obj, key, where)
    if value is None:
        return 0
    if isinstance(value, str):
        sign, digits = _LEADING_INTEGER.match(value).groups()
        if not digits:
            return 0
        magnitude = min(int(digits), _INT64_MAX)
        return -magnitude if sign == "-" else magnitude
    if isinstance(value, bool):
        return 1 if value else 0
    if isinstance(value, int):
        return value
    if isinstance(value, float):
        return int(value)
    raise TypeError(f"{where}.{key} is {_kind(value)} and has no integer value")


def _member(obj, key, where):
    if obj is _MISSING:
        return _MISSING
    if not isinstance(obj, dict):
        raise TypeError(f"{where} is {_kind(obj)}, not an object")
    return obj.get(key, _MISSING)


def _product(element) -> Product:
    return Product(
        _as_is(element, "productName", "associatedProduct[]"),
        _integer(element, "productId", "associatedProduct[]"),
    )


def decode_offer(entry) -> Offer:
    body = _member(entry, "offer", "offer document")
    details = _member(body, "offerDetails", "offer")
    rules = _member(details, "offerRules", "offer.offerDetails")
    kind = _member(details, "offerType", "offer.offerDetails")
    product_list = _leaf(details, "associatedProduct", "offer.offerDetails")
    if product_list is None:
        products = []
    elif isinstance(product_list, list):
        products = [_product(element) for element in product_list]
    else:
        raise TypeError(f"offer.offerDetails.associatedProduct is {_kind(product_list)}, not an array")
    return Offer(
        consumerOfferId=_as_is(entry, "consumerOfferId", "offer document"),
        offerId=_formatted(body, "offerId", "offer"),
        offerName=_as_is(body, "offerName", "offer"),
        offerDescription=_as_is(body, "offerDescription", "offer"),
        promoCode=_as_is(body, "promoCode", "offer"),
        offerCode=_as_is(entry, "offerCode", "offer document"),
        offerDetails=OfferDetails(
            rule=OfferRules(
                redeemLimit=_formatted(rules, "individualRedeemLimit", "offerRules"),
                transactionLimit=_formatted(rules, "transactionLimit", "offerRules"),
                minPurchaseLimit=_formatted(rules, "minPurchaseLimit", "offerRules"),
                combinable=_leaf(rules, "minPurchaseLimit", "offerRules") is not None,
            ),
            type=OfferType(
                typeDescription=_as_is(kind, "type", "offerType"),
                percentOff=_formatted(kind, "dollarPercentageOff", "offerType"),
                amountOff=_formatted(kind, "dollarAmountOff", "offerType"),
                cardNumber=_formatted(kind, "punchCardNumber", "offerType"),
                loyaltyPoint=_formatted(kind, "loyaltyPoints", "offerType"),
            ),
            products=products,
            imageURL=_as_is(details, "imageURL", "offer.offerDetails"),
        ),
    )


def decode_offer_list(answer) -> list:
    """The records of a parsed offer-list answer; entries without an "offer" object are left out."""
    if not isinstance(answer, list):
        raise TypeError(f"the offer list is {_kind(answer)}, not an array")
    offers = []
    for index, entry in enumerate(answer):
        if not isinstance(entry, dict):
            raise TypeError(f"offers[{index}] is {_kind(entry)}, not an object")
        if isinstance(entry.get("offer"), dict):
            offers.append(decode_offer(entry))
    return offers


def decode_text(text: str, expected: Optional[int] = None) -> list:
    offers = decode_offer_list(json.loads(text))
    if expected is not None and len(offers) != expected:
        raise ValueError(f"decoded {len(offers)} offers instead of {expected}")
    return offers


def listing(offer: Offer) -> str:
    """The listing line of a record, as qvc_bench_dump writes it."""

    def text(value):
        return "~" if value is None else f"{len(value.encode('utf-8'))}:{value}"

    details = offer.offerDetails
    fields = [
        text(offer.consumerOfferId),
        text(offer.offerId),
        text(offer.offerName),
        text(offer.offerDescription),
        text(offer.promoCode),
        text(offer.offerCode),
        text(details.rule.redeemLimit),
        text(details.rule.transactionLimit),
        text(details.rule.minPurchaseLimit),
        "1" if details.rule.combinable else "0",
        text(details.type.typeDescription),
        text(details.type.percentOff),
        text(details.type.amountOff),
        text(details.type.cardNumber),
        text(details.type.loyaltyPoint),
        text(details.imageURL),
        str(len(details.products)),
    ]
    for product in details.products:
        fields += [text(product.name), str(product.productId), text(product.price), str(product.quantity)]
    return "|".join(fields) + "\n"


def process_memory():
    """VmRSS and VmHWM of this process, in KiB, from /proc/self/status."""
    values = {}
    with open("/proc/self/status", encoding="ascii") as status:
        for line in status:
            name, _, rest = line.partition(":")
            if name in ("VmRSS", "VmHWM"):
                values[name] = int(rest.split()[0])
    return values.get("VmRSS", 0), values.get("VmHWM", 0)


def measure(text: str, offers: int, runs: int, min_time: float):
    # Warm up and find how many decodes fill a run.
    iterations = 1
    while True:
        start = time.perf_counter()
        for _ in range(iterations):
            decode_text(text, offers)
        elapsed = time.perf_counter() - start
        if elapsed >= min_time:
            break
        iterations = iterations * 10 if elapsed <= 0 else max(iterations + 1, int(iterations * min_time * 1.2 / elapsed) + 1)
    per_offer = []
    for _ in range(runs):
        start = time.perf_counter()
        for _ in range(iterations):
            decode_text(text, offers)
        per_offer.append((time.perf_counter() - start) * 1e6 / iterations / offers)
    return statistics.median(per_offer), iterations


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--data-dir")
    parser.add_argument("--sizes", default="100,1000,10000")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--min-time", type=float, default=0.25)
    parser.add_argument("--dump")
    parser.add_argument("--rss")
    args = parser.parse_args()

    if args.dump:
        with open(args.dump, encoding="utf-8") as source:
            offers = decode_text(source.read())
        sys.stdout.buffer.write("".join(listing(offer) for offer in offers).encode("utf-8"))
        return 0
    if args.rss:
        with open(args.rss, encoding="utf-8") as source:
            text = source.read()
        baseline, _ = process_memory()
        offers = decode_text(text)
        del text
        gc.collect()
        after, peak = process_memory()
        native = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        print(
            f"rss impl=python offers={len(offers)} baseline_kib={baseline} peak_kib={peak} "
            f"after_kib={after} native_max_rss_kib={native}"
        )
        return 0
    if not args.data_dir:
        parser.error("give --data-dir, --dump or --rss")
    for offers in (int(size) for size in args.sizes.split(",")):
        with open(os.path.join(args.data_dir, f"offers-{offers}.json"), encoding="utf-8") as source:
            text = source.read()
        us_per_offer, iterations = measure(text, offers, args.runs, args.min_time)
        print(f"decode impl=python offers={offers} us_per_offer={us_per_offer:.4f} runs={args.runs} iterations={iterations}")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (OSError, ValueError, TypeError) as error:
        print(f"decode.py: {error}", file=sys.stderr)
        sys.exit(1)
