// The key "/" goes to the search of the view, the key "u" takes the last deletion back.

const targets: Readonly<Record<string, string>> = {'/': 'main input[type=search]', u: '.toast button'};

addEventListener('keydown', (event) => {
  const isTyping = event.target instanceof HTMLElement && event.target.matches('input:not([type=checkbox]), textarea, select');
  const hasOther = event.ctrlKey || event.metaKey || event.altKey || document.querySelector('dialog[open]');
  if (isTyping || hasOther) return;
  const target = document.querySelector<HTMLElement>(targets[event.key] ?? 'none');
  if (!target) return;
  event.preventDefault();
  if (target.matches('button')) target.click();
  else target.focus();
});
