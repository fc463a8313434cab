// What a list may lack, as the server warns of it.
import { isWeb } from './connection.js';

// The sentences for the warnings of a reading, each a text of the page with its values, and the causes that the server
// gives to administrators.
export function explainWarnings(warnings) {
  const missing = warnings.filter(({ code }) => code !== 'details_missing');
  const vague = warnings.filter(({ code }) => code === 'details_missing');
  const sentences = [];
  if (missing.some(({ service }) => !service)) sentences.push(['warning.any', {}]);
  else if (missing.length > 0) sentences.push(['warning.missing', { services: servicesOf(missing) }]);
  if (vague.length > 0) sentences.push(['warning.details', { services: servicesOf(vague) }]);
  return { sentences, causes: warnings.map(({ detail }) => detail).filter(Boolean) };
}

// Whether, with these warnings, `row` may exist although the list lacks it. SSH stands for SFTP, too; web logins are
// read from another place.
export function mayLack(warnings, row) {
  if (isWeb(row)) return false;
  const names = row.type === 'SFTP' ? ['SSH', 'SFTP'] : [row.type];
  return warnings.some(({ code, service }) => code !== 'details_missing' && (!service || names.includes(service)));
}

function servicesOf(warnings) {
  return [...new Set(warnings.map(({ service }) => service))].filter(Boolean).join(', ');
}
