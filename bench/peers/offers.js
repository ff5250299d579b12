'use strict';
// Offer-list decoding in plain JavaScript, shaped and valued like the
// library's records (QVCOffer and its sub-records), for the Node peers of the
// benchmarks. Values follow the library's readers:
//  - asIs: a text as it is, a number as its "%@" text, null when missing or null;
//  - formatted: the same, but "(null)" when missing or null;
//  - integer: the leading integer of a text, a number truncated, 0 when missing;
//  - present: whether there is a non-null value.
// A missing intermediate object reads every value below it as missing; one
// that is present but not an object (null included) throws, as it does in
// the library.

/** C's "%.*g" of a finite number, as the library's shortest decimal text uses it. */
function formatG(value, precision) {
  if (value === 0) {
    return Object.is(value, -0) ? '-0' : '0';
  }
  const [mantissa, exponentText] = value.toExponential(precision - 1).split('e');
  const exponent = Number(exponentText);
  const stripZeros = (text) => (text.includes('.') ? text.replace(/\.?0+$/, '') : text);
  if (exponent < -4 || exponent >= precision) {
    const digits = String(Math.abs(exponent)).padStart(2, '0');
    return `${stripZeros(mantissa)}e${exponent < 0 ? '-' : '+'}${digits}`;
  }
  return stripZeros(value.toFixed(Math.max(0, precision - 1 - exponent)));
}

/**
 * The library's text of a number. JSON.parse does not keep 15.0 apart from
 * 15, so a number without fraction is taken as the integer the library reads
 * from a document that writes it without one.
 */
function numberText(value) {
  if (Number.isInteger(value)) {
    return String(value);
  }
  for (let precision = 1; precision <= 17; precision++) {
    const text = formatG(value, precision);
    if (Number(text) === value) {
      return text;
    }
  }
  return String(value);
}

/** The "%@" text of a value that is not null. */
function objectText(value) {
  switch (typeof value) {
    case 'string':
      return value;
    case 'number':
      return numberText(value);
    case 'boolean':
      return value ? '1' : '0';
    default:
      return JSON.stringify(value);
  }
}

function kindName(value) {
  if (value === null) return 'null';
  if (Array.isArray(value)) return 'an array';
  return typeof value === 'object' ? 'an object' : `a ${typeof value}`;
}

/** The value under key of an intermediate object; null when missing or null. */
function leaf(object, key, where) {
  if (object === undefined) {
    return null;
  }
  if (object === null || typeof object !== 'object' || Array.isArray(object)) {
    throw new TypeError(`${where} is ${kindName(object)}, not an object`);
  }
  const value = object[key];
  return value === undefined ? null : value;
}

function asIs(object, key, where) {
  const value = leaf(object, key, where);
  return value === null ? null : objectText(value);
}

function formatted(object, key, where) {
  const value = leaf(object, key, where);
  return value === null ? '(null)' : objectText(value);
}

const INT64_MAX = 9223372036854775807;

function leadingInteger(text) {
  const match = /^[ \t\n\v\f\r]*([+-]?)([0-9]*)/.exec(text);
  if (!match[2]) {
    return 0;
  }
  const magnitude = Math.min(Number(match[2]), INT64_MAX);
  return match[1] === '-' ? -magnitude : magnitude;
}

function integer(object, key, where) {
  const value = leaf(object, key, where);
  if (value === null) return 0;
  switch (typeof value) {
    case 'string':
      return leadingInteger(value);
    case 'number':
      return Math.trunc(value);
    case 'boolean':
      return value ? 1 : 0;
    default:
      throw new TypeError(`${where}.${key} is ${kindName(value)} and has no integer value`);
  }
}

function present(object, key, where) {
  return leaf(object, key, where) !== null;
}

/** An intermediate object: undefined when missing, otherwise the value as it is. */
function member(object, key, where) {
  if (object === undefined) {
    return undefined;
  }
  if (object === null || typeof object !== 'object' || Array.isArray(object)) {
    throw new TypeError(`${where} is ${kindName(object)}, not an object`);
  }
  return object[key];
}

function decodeOffer(entry) {
  const body = member(entry, 'offer', 'offer document');
  const details = member(body, 'offerDetails', 'offer');
  const rules = member(details, 'offerRules', 'offer.offerDetails');
  const type = member(details, 'offerType', 'offer.offerDetails');
  const productList = leaf(details, 'associatedProduct', 'offer.offerDetails');
  let products = [];
  if (productList !== null) {
    if (!Array.isArray(productList)) {
      throw new TypeError(`offer.offerDetails.associatedProduct is ${kindName(productList)}, not an array`);
    }
    products = productList.map((product) => ({
      name: asIs(product, 'productName', 'associatedProduct[]'),
      productId: integer(product, 'productId', 'associatedProduct[]'),
      price: '0',
      quantity: 0,
    }));
  }
  return {
    consumerOfferId: asIs(entry, 'consumerOfferId', 'offer document'),
    offerId: formatted(body, 'offerId', 'offer'),
    offerName: asIs(body, 'offerName', 'offer'),
    offerDescription: asIs(body, 'offerDescription', 'offer'),
    promoCode: asIs(body, 'promoCode', 'offer'),
    offerCode: asIs(entry, 'offerCode', 'offer document'),
    offerDetails: {
      rule: {
        redeemLimit: formatted(rules, 'individualRedeemLimit', 'offerRules'),
        transactionLimit: formatted(rules, 'transactionLimit', 'offerRules'),
        minPurchaseLimit: formatted(rules, 'minPurchaseLimit', 'offerRules'),
        combinable: present(rules, 'minPurchaseLimit', 'offerRules'),
      },
      type: {
        typeDescription: asIs(type, 'type', 'offerType'),
        percentOff: formatted(type, 'dollarPercentageOff', 'offerType'),
        amountOff: formatted(type, 'dollarAmountOff', 'offerType'),
        cardNumber: formatted(type, 'punchCardNumber', 'offerType'),
        loyaltyPoint: formatted(type, 'loyaltyPoints', 'offerType'),
      },
      products,
      imageURL: asIs(details, 'imageURL', 'offer.offerDetails'),
    },
  };
}

/** The records of a parsed offer-list answer; entries without an "offer" object are left out. */
function decodeOfferList(answer) {
  if (!Array.isArray(answer)) {
    throw new TypeError(`the offer list is ${kindName(answer)}, not an array`);
  }
  const offers = [];
  for (let index = 0; index < answer.length; index++) {
    const entry = answer[index];
    if (entry === null || typeof entry !== 'object' || Array.isArray(entry)) {
      throw new TypeError(`offers[${index}] is ${kindName(entry)}, not an object`);
    }
    const offer = entry.offer;
    if (offer !== null && typeof offer === 'object' && !Array.isArray(offer)) {
      offers.push(decodeOffer(entry));
    }
  }
  return offers;
}

/** The listing line of a record, as qvc_bench_dump writes it. */
function listing(offer) {
  const text = (value) => (value === null ? '~' : `${Buffer.byteLength(value, 'utf8')}:${value}`);
  const { rule, type, products } = offer.offerDetails;
  const fields = [
    text(offer.consumerOfferId),
    text(offer.offerId),
    text(offer.offerName),
    text(offer.offerDescription),
    text(offer.promoCode),
    text(offer.offerCode),
    text(rule.redeemLimit),
    text(rule.transactionLimit),
    text(rule.minPurchaseLimit),
    rule.combinable ? '1' : '0',
    text(type.typeDescription),
    text(type.percentOff),
    text(type.amountOff),
    text(type.cardNumber),
    text(type.loyaltyPoint),
    text(offer.offerDetails.imageURL),
    String(products.length),
  ];
  for (const product of products) {
    fields.push(text(product.name), String(product.productId), text(product.price), String(product.quantity));
  }
  return `${fields.join('|')}\n`;
}

/** VmRSS and VmHWM of this process, in KiB, from /proc/self/status. */
function processMemory() {
  const status = require('fs').readFileSync('/proc/self/status', 'utf8');
  const read = (name) => {
    const match = new RegExp(`^${name}:\\s+(\\d+)`, 'm').exec(status);
    return match ? Number(match[1]) : 0;
  };
  return { residentKiB: read('VmRSS'), peakKiB: read('VmHWM') };
}

module.exports = { decodeOfferList, listing, processMemory, numberText };
