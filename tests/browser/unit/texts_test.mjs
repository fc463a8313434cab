import assert from 'node:assert/strict';
import { readdir, readFile } from 'node:fs/promises';
import { test } from 'node:test';
import { chooseLanguage, kLanguages, localeFor } from '../../../web/script/model/language.js';
import { fill, partsOf } from '../../../web/script/model/message.js';

const web = new URL('../../../web/', import.meta.url);
const textsOf = async (language) => JSON.parse(await readFile(new URL(`texts/${language}.json`, web), 'utf8'));
const variantsOf = (text) => (typeof text === 'string' ? [text] : Object.values(text));
const namesIn = (text) =>
  [
    ...new Set(
      partsOf(text)
        .filter((part) => part.name)
        .map((part) => part.name),
    ),
  ].sort();

const english = await textsOf('en');

// The texts for what the server gives as keys: where its description lists them, as schema and member.
const kFamilies = {
  reason: [
    ['StayingConnection', 'reason'],
    ['Fate', 'reason'],
    ['Refusal', 'reason'],
    ['ServiceAccess', 'reason'],
  ],
  effect: [['Effect', 'reason']],
  access: [['ServiceAccess', 'access']],
  remedy: [['ServiceAccess', 'remedy']],
  fate: [['Fate', 'fate']],
};
const kOwnKeys = { reason: ['other'], effect: ['open_files'] };

test('there is a file for each language and a language for each file', async () => {
  const files = (await readdir(new URL('texts/', web))).map((name) => name.replace('.json', ''));
  assert.deepEqual(files.sort(), Object.keys(kLanguages).sort());
});

for (const language of Object.keys(kLanguages)) {
  const texts = await textsOf(language);

  test(`${language} has the keys of English in the order of English`, () => {
    assert.deepEqual(Object.keys(texts), Object.keys(english));
  });

  test(`${language} has the placeholders of English in every text`, () => {
    for (const [key, text] of Object.entries(texts)) {
      const wanted = namesIn(variantsOf(english[key]).at(-1));
      for (const variant of variantsOf(text)) assert.deepEqual(namesIn(variant), wanted, key);
    }
  });

  test(`${language} has a text for each plural that it knows`, () => {
    const { pluralCategories } = new Intl.PluralRules(language).resolvedOptions();
    for (const [key, text] of Object.entries(texts)) {
      assert.equal(typeof text, typeof english[key], key);
      if (typeof text === 'string') continue;
      // "many" is for millions in French and Spanish; the general text serves.
      assert.deepEqual(Object.keys(text).sort(), pluralCategories.filter((name) => name !== 'many').sort(), key);
    }
  });

  test(`${language} leaves no text empty and no brace open`, () => {
    for (const [key, text] of Object.entries(texts)) {
      for (const variant of variantsOf(text)) {
        assert.notEqual(variant.trim(), '', key);
        assert.doesNotMatch(variant.replaceAll(/\{\w+\}/g, ''), /[{}]/, key);
      }
    }
  });
}

test('every text that the page names exists, and every text is named', async () => {
  const sources = await sourcesOf(web);
  const named = new Set(
    sources.flatMap((source) => [...source.matchAll(/['"]([a-z]+_?[a-z]*\.[a-z_]+)['"]/g)].map((match) => match[1])),
  );
  const built = ['live.', 'service.', 'account.appearance_', ...Object.keys(kFamilies).map((family) => `${family}.`)];
  const isKnown = (key) => named.has(key) || built.some((start) => key.startsWith(start));
  assert.deepEqual(
    Object.keys(english).filter((key) => !isKnown(key)),
    [],
  );
  const families = new Set(Object.keys(english).map((key) => key.split('.')[0]));
  const missing = [...named].filter((key) => families.has(key.split('.')[0]) && !(key in english));
  assert.deepEqual(missing, []);
});

test('every key that the server can give has a text, and every text its key', async () => {
  const { components } = JSON.parse(await readFile(new URL('../calls/openapi.json', web), 'utf8'));
  for (const [family, schemas] of Object.entries(kFamilies)) {
    const keys = schemas.flatMap(([schema, name]) => valuesOf(components.schemas[schema], name));
    const wanted = [...keys, ...(kOwnKeys[family] ?? [])].map((key) => `${family}.${key.replaceAll('-', '_')}`);
    const texts = Object.keys(english).filter((key) => key.startsWith(`${family}.`));
    assert.deepEqual(texts.sort(), [...new Set(wanted)].sort());
  }
});

test('the first language that the page speaks is taken', () => {
  assert.equal(chooseLanguage(['it-IT', 'de-CH', 'en']), 'de');
  assert.equal(chooseLanguage(['zh-CN']), 'zh-Hans');
  assert.equal(chooseLanguage(['zh-Hant-TW', 'ja']), 'ja');
  assert.equal(chooseLanguage(['tlh']), 'en');
  assert.equal(chooseLanguage([]), 'en');
});

test("dates follow the person's own variety of the language", () => {
  assert.equal(localeFor('en', ['de-DE', 'en-GB']), 'en-GB');
  assert.equal(localeFor('fr', ['de-DE']), 'fr');
  assert.equal(localeFor('zh-Hans', ['zh-TW', 'zh-SG']), 'zh-SG');
});

test('a text is filled with the numbers and plurals of its language', () => {
  const text = { one: '{count} row of {user}', other: '{count} rows of {user}' };
  assert.equal(fill(text, { count: 1, user: 'bob' }, 'en'), '1 row of bob');
  assert.equal(fill(text, { count: 12345, user: '{count}' }, 'de'), '12.345 rows of {count}');
});

async function sourcesOf(folder) {
  const entries = await readdir(folder, { recursive: true });
  const wanted = entries.filter((name) => /\.(js|html)$/.test(name));
  return Promise.all(wanted.map((name) => readFile(new URL(name, folder), 'utf8')));
}

// The values that the members of this name may have, anywhere in the schema.
function valuesOf(schema, name) {
  if (schema === null || typeof schema !== 'object') return [];
  const own = schema.properties?.[name];
  const values = own?.enum ?? (own?.const ? [own.const] : []);
  return [...values, ...Object.values(schema).flatMap((part) => valuesOf(part, name))];
}
