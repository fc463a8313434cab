// The server's warnings about incomplete answers.

// The sentences for the warnings of a read, each a text of the page with its values, and the causes that the server
// sends to administrators.
export function explainWarnings(warnings) {
  const missing = warnings.filter(isMissing);
  const vague = warnings.filter(({ code }) => code === 'details_missing');
  const sentences = [];
  if (missing.some(({ service }) => !service)) sentences.push(['warning.any', {}]);
  else if (missing.length > 0) sentences.push(['warning.missing', { services: servicesOf(missing) }]);
  if (vague.length > 0) sentences.push(['warning.details', { services: servicesOf(vague) }]);
  const open = warnings.filter(({ code }) => code === 'still_let_in');
  if (open.length > 0) sentences.push(['warning.let_in', { services: servicesOf(open) }]);
  if (warnings.some(({ code }) => code === 'open_files_missing')) sentences.push(['warning.open_files', {}]);
  return { sentences, causes: warnings.map(({ detail }) => detail).filter(Boolean) };
}

// A newer server may send an unknown code.
const isMissing = ({ code }) => !['details_missing', 'still_let_in', 'open_files_missing'].includes(code);

function servicesOf(warnings) {
  return [...new Set(warnings.map(({ service }) => service))].filter(Boolean).join(', ');
}
