// The judge of inferred values: runs the case generator (the reader's own
// formatter plus inferValue), then has the npm package ssf, an independent
// implementation of ECMA-376 number formats, format every typed value with
// its format code; each must give back the display text exactly, and each
// date or time its ISO text. Every form the formatter writes must yield
// typed values, except the forms listed as text below. Exit 77: skipped.
'use strict';
const { execFileSync } = require('child_process');
let SSF;
try {
  SSF = require('ssf');
} catch (e) {
  console.log('SKIPPED: the npm package ssf is not installed (run npm ci in ' + __dirname + ')');
  process.exit(77);
}

// Dates that stay text, and why: two-digit years (4, 5, 6, 8, 10, 13), a
// month without its day (16); the digits of 11 and 12 read as numbers;
// texts that only look like values (notAValue).
// Exponents without decimals (code 28 with 0) stay text too. Bars,
// booleans, labels, unknown date styles and the codes that pass the text
// through type only what they happen to show.
const textForms = new Set(['date4', 'date5', 'date6', 'date8', 'date10', 'date13', 'date16',
                           'code28.0', 'notAValue']);
const throughForms = /^(code(0|[2-9]|1[0-6]|2[4-6]|29)\.|date(0|1|12|17)$)/;

const lines = execFileSync(process.argv[2], { maxBuffer: 1 << 28 }).toString().split('\n');
const typedByForm = new Map();
const counts = { text: 0 };
const failures = [];
const parenthesesTyped = [0, 0];  // negatives in parentheses: left text, typed
for (const line of lines) {
  if (line === '') continue;
  const [form, display, type, number, format, iso] = line.split('\t');
  counts[type] = (counts[type] || 0) + 1;
  if (display.startsWith('(')) parenthesesTyped[type === 'text' ? 0 : 1]++;
  if (!typedByForm.has(form)) typedByForm.set(form, 0);
  if (type === 'text') continue;
  typedByForm.set(form, typedByForm.get(form) + 1);
  const value = Number(number);
  const shown = SSF.format(format, value);
  if (shown !== display) failures.push(`${form}: "${display}" -> ${value} "${format}" -> "${shown}"`);
  const isoFormat = { date: 'yyyy-mm-dd', time: 'hh:mm:ss', datetime: 'yyyy-mm-dd"T"hh:mm:ss' }[type];
  if (isoFormat && SSF.format(isoFormat, value) !== iso)
    failures.push(`${form}: "${display}" -> ${value}: ISO "${iso}", ssf "${SSF.format(isoFormat, value)}"`);
}
for (const [form, typed] of typedByForm) {
  const expectText = textForms.has(form) || throughForms.test(form);
  if (!expectText && typed === 0) failures.push(`${form}: no text of this form was typed`);
  if (textForms.has(form) && typed > 0) failures.push(`${form}: ${typed} texts typed, none expected`);
}
if (parenthesesTyped[0] + parenthesesTyped[1] > 0 && parenthesesTyped[1] === 0)
  failures.push('no negative in parentheses was typed');
console.log('cases by type:', JSON.stringify(counts));
for (const failure of failures.slice(0, 40)) console.log('FAIL', failure);
if (failures.length > 0) {
  console.log(`${failures.length} failures`);
  process.exit(1);
}
