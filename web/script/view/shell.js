// Shell commands with names from the server. shell`pkill -U ${name}`: each value is one word, in quotes where it needs them.
export function shell(texts, ...values) {
  return String.raw({ raw: texts }, ...values.map(word));
}

function word(value) {
  return /^[\w\-+.,:/@%]+$/.test(value) ? value : `'${value.replaceAll("'", String.raw`'\''`)}'`;
}
