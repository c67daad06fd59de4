#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the articles of this folder: NAME.art as a server sends one, NAME.txt what is shown of it.

The expected texts come from the texts that the articles were made of, never from the program. Encoders and
character sets are Python's own or written here; articles that break rules have their expected text written
down by hand. Run it in its folder; what it writes is the same each time.
"""
import base64
import binascii
import glob
import os
import zlib

from texts import CHARSETS, TEXTS

CRLF = '\r\n'
SAFE = set(b'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!*+-/')
# Subjects in sets of their own; these are not for words, or not cut at will.
NOT_IN_WORDS = {'utf-16', 'utf-7', 'hz', 'iso2022-kr'}


# --- Encoders ---------------------------------------------------------------------------------------

def quoted_printable(data, width=72):
    lines = []
    for line in data.split(b'\r\n'):
        out = ''
        for at, byte in enumerate(line):
            last = at == len(line) - 1
            plain = 33 <= byte <= 126 and byte != 61 or byte in (9, 32) and not last
            piece = chr(byte) if plain else '=%02X' % byte
            if len(out) + len(piece) > width:
                lines.append(out + '=')
                out = ''
            out += piece
        lines.append(out)
    return CRLF.join(lines).encode()


def base64_lines(data, width=76):
    letters = base64.b64encode(data).decode()
    return ''.join(letters[i:i + width] + CRLF for i in range(0, len(letters), width)).encode()


def word(text, name, codec, kind):
    data = text.encode(codec)
    if kind == 'B':
        return '=?%s?B?%s?=' % (name, base64.b64encode(data).decode())
    letters = ''.join('_' if byte == 32 else chr(byte) if byte in SAFE else '=%02X' % byte for byte in data)
    return '=?%s?Q?%s?=' % (name, letters)


def words(text, name, codec, kind):
    """As many words as it needs, none above 75 bytes, none with half a character."""
    found, piece = [], ''
    for character in text:
        if piece and len(word(piece + character, name, codec, kind)) > 75:
            found.append(word(piece, name, codec, kind))
            piece = ''
        piece += character
    return found + [word(piece, name, codec, kind)]


def stuffed(body):
    return b''.join((b'.' if line.startswith(b'.') else b'') + line for line in body.splitlines(keepends=True)) \
        if body else body


# --- Articles ---------------------------------------------------------------------------------------

class Corpus:
    def __init__(self):
        self.names = set()

    def add(self, name, fields, body, text, subject='Tides', author='Ann Lee <ann@example.org>', attachments=(),
            shown_subject=None, shown_author=None, joined=True):
        """`fields`: header lines without ends. `text`: what is shown of the body."""
        assert name not in self.names, name
        self.names.add(name)
        head = ['Path: news.example.org!not-for-mail', 'From: ' + author, 'Newsgroups: alt.test', 'Subject: ' + subject,
                'Date: Sun, 22 Nov 2026 10:20:30 +0000', 'Message-ID: <%s@example.org>' % name] + list(fields)
        with open(name + '.art', 'wb') as out:
            out.write(CRLF.join(head).encode('utf-8', 'surrogateescape') + b'\r\n\r\n' + stuffed(body))
        if attachments:
            if text and not text.endswith(CRLF):
                text += CRLF
            if text:
                text += CRLF
            text += ''.join('Attachment: %s, %s, %s' % item + CRLF for item in attachments)
        head = 'Subject: ' + (shown_subject or subject) + CRLF + 'From: ' + (shown_author or author) + CRLF + CRLF
        with open(name + '.txt', 'wb') as out:
            out.write((head + text).encode('utf-8'))


def mime(charset=None, transfer=None, parameters='', kind='text/plain'):
    fields = ['MIME-Version: 1.0']
    fields.append('Content-Type: ' + kind + ('; charset=' + charset if charset else '') + parameters)
    if transfer:
        fields.append('Content-Transfer-Encoding: ' + transfer)
    return fields


def encoded(data, transfer):
    if transfer == 'quoted-printable':
        return quoted_printable(data)
    return base64_lines(data) if transfer == 'base64' else data


def text_of(language):
    subject, author, lines = TEXTS[language]
    return subject, author, CRLF.join(lines) + CRLF


def add_charsets(corpus):
    for number, (language, name, codec) in enumerate(CHARSETS):
        subject, author, text = text_of(language)
        data = text.encode(codec)
        seven_bit = codec in ('iso2022-jp', 'hz', 'iso2022-kr', 'utf-7')
        word_name, word_codec = ('UTF-8', 'utf-8') if codec in NOT_IN_WORDS else (name, codec)
        transfers = ['7bit' if seven_bit else '8bit', 'quoted-printable', 'base64']
        if codec == 'utf-16':
            transfers = ['base64']
        for transfer in transfers:
            kind = 'B' if (number + len(transfer)) % 2 else 'Q'
            encoded_subject = words(subject, word_name, word_codec, kind)
            encoded_author = words(author, word_name, word_codec, 'B' if kind == 'Q' else 'Q')
            label = '%s-%s-%s' % (language, name.lower().replace('_', '-').replace('.', ''), transfer[:6].strip('-'))
            corpus.add(label, mime(name, transfer), encoded(data, transfer), text,
                       subject=' '.join(encoded_subject), shown_subject=subject,
                       author=' '.join(encoded_author) + ' <writer@example.org>',
                       shown_author=author + ' <writer@example.org>')


def add_unlabelled(corpus):
    for language, codec in (('de', 'utf-8'), ('de', 'cp1252'), ('fr15', 'cp1252'), ('ru', 'utf-8'), ('ja', 'utf-8'),
                            ('emoji', 'utf-8'), ('es', 'cp1252'), ('is', 'cp1252')):
        subject, author, text = text_of(language)
        raw = lambda value: value.encode(codec).decode('utf-8', 'surrogateescape')  # noqa: E731
        corpus.add('raw-%s-%s' % (language, codec), [], text.encode(codec), text, subject=raw(subject),
                   author=raw(author) + ' <w@example.org>', shown_subject=subject, shown_author=author + ' <w@example.org>')
    text = 'Plain ASCII, = ? and =C3=BC as they are.\r\n.dots\r\n..dots\r\n> quoted \r\n-- \r\nAnn\r\n'
    corpus.add('ascii', [], text.encode(), text)
    corpus.add('ascii-mime', mime('us-ascii', '7bit'), text.encode(), text)


def add_lying(corpus):
    for language, says, codec in (('de', 'utf-8', 'cp1252'), ('de', 'us-ascii', 'utf-8'), ('de', 'us-ascii', 'cp1252'),
                                  ('ru', 'iso-8859-1', 'utf-8'), ('fr', 'x-unknown', 'utf-8'),
                                  ('el', 'no-such-set', 'utf-8'), ('es', 'unknown-8bit', 'cp1252'),
                                  ('fr15', 'iso-8859-1', 'cp1252'), ('zh-cn', 'gb2312', 'gbk'),
                                  ('tr', 'iso-8859-9', 'cp1254')):
        _, _, text = text_of(language)
        corpus.add('lying-%s-%s-%s' % (language, says, codec), mime(says, '8bit'), text.encode(codec), text)


# --- Flowed text ------------------------------------------------------------------------------------

def flow(paragraphs, del_space, width=50):
    """Paragraphs (depth, text) as flowed lines; a writer that breaks lines at blanks, or anywhere."""
    lines = []
    for depth, text in paragraphs:
        pieces = []
        while len(text) > width:
            if del_space:
                cut = width
                piece, text = text[:cut] + ' ', text[cut:]
            else:
                cut = text.rfind(' ', 1, width)
                cut = cut if cut > 0 else text.find(' ', width)
                if cut < 0:
                    break
                piece, text = text[:cut + 1], text[cut + 1:]
            pieces.append(piece)
        pieces.append(text)
        for piece in pieces:
            stuff = ' ' if depth or piece.startswith((' ', '>', 'From ')) else ''
            lines.append('>' * depth + (stuff if piece or not depth else '') + piece)
    return CRLF.join(lines) + CRLF


def flowed_text(paragraphs):
    return ''.join(('>' * depth + ' ' if depth and text else '>' * depth) + text + CRLF for depth, text in paragraphs)


LONG = ('The tide came in over the flats before anybody had thought of the boats, and by noon the whole harbour was '
        'talking of nothing else than the two that had drifted out past the lighthouse.')


def add_flowed(corpus):
    german = ' '.join(TEXTS['de'][2])
    greek = ' '.join(TEXTS['el'][2])
    japanese = ''.join(TEXTS['ja'][2]) * 2
    chinese = ''.join(TEXTS['zh-cn'][2]) * 3
    cases = {
        'plain': ([(0, LONG), (0, ''), (0, 'A short line.'), (0, LONG)], False, 'utf-8'),
        'german': ([(0, german), (0, ''), (0, german)], False, 'utf-8'),
        'greek': ([(1, greek), (0, ''), (0, greek)], False, 'iso-8859-7'),
        'quotes': ([(1, LONG), (2, LONG), (1, 'yes'), (0, 'My answer.'), (3, 'deep'), (0, '')], False, 'utf-8'),
        'stuffed': ([(0, 'From here on'), (0, ' indented'), (0, '>no quote'), (0, '')], False, 'utf-8'),
        'signature': ([(0, LONG), (0, '-- '), (0, 'Ann Lee')], False, 'utf-8'),
        'empty-quotes': ([(1, 'a'), (1, ''), (1, 'b'), (0, '')], False, 'utf-8'),
        'delsp-ja': ([(0, japanese), (1, japanese), (0, '')], True, 'utf-8'),
        'delsp-zh': ([(0, chinese), (0, 'end')], True, 'gb18030'),
        'delsp-jis': ([(0, japanese)], True, 'iso-2022-jp'),
    }
    for name, (paragraphs, del_space, charset) in cases.items():
        codec = {'iso-8859-7': 'iso8859-7', 'iso-2022-jp': 'iso2022-jp'}.get(charset, charset)
        data = flow(paragraphs, del_space).encode(codec)
        parameters = '; format=flowed' + ('; delsp=yes' if del_space else '')
        for transfer in ('8bit', 'quoted-printable'):
            corpus.add('flowed-%s-%s' % (name, transfer[:6]), mime(charset, transfer, parameters),
                       encoded(data, transfer), flowed_text(paragraphs))


# --- Parts ------------------------------------------------------------------------------------------

PICTURE = bytes(range(256)) * 8  # 2 KB


def part(fields, body):
    return (CRLF.join(fields) + CRLF + CRLF).encode('utf-8', 'surrogateescape') + body


def text_part(language='de', charset='utf-8', transfer='quoted-printable', kind='text/plain', extra=()):
    text = text_of(language)[2]
    return part(['Content-Type: %s; charset=%s' % (kind, charset), 'Content-Transfer-Encoding: ' + transfer, *extra],
                encoded(text.encode(charset), transfer))


def picture(fields=('Content-Type: image/jpeg; name="photo.jpg"',)):
    return part([*fields, 'Content-Transfer-Encoding: base64'], base64_lines(PICTURE))


def multipart(parts, boundary='=_b', preamble=b'', epilogue=b'', last=True):
    body = preamble + b'\r\n' if preamble else b''
    for piece in parts:
        body += b'--' + boundary.encode() + b'\r\n' + piece + b'\r\n'
    return body + (b'--' + boundary.encode() + b'--\r\n' if last else b'') + epilogue


def kind_of(subtype, boundary='=_b', more=''):
    return ['MIME-Version: 1.0', 'Content-Type: multipart/%s; boundary="%s"%s' % (subtype, boundary, more)]


def html(text):
    lines = ''.join('<p>%s</p>\n' % line for line in text.split(CRLF) if line)
    return ('<!DOCTYPE html><html><head><title>Not shown</title><style>p { color: red }</style></head>\n'
            '<body>%s<script>document.write("not shown")</script></body></html>' % lines)


def page_text(text):
    return (CRLF + CRLF).join(line for line in text.split(CRLF) if line) + CRLF


def html_part(language='de'):
    return part(['Content-Type: text/html; charset=utf-8', 'Content-Transfer-Encoding: 8bit'],
                html(text_of(language)[2]).encode())


PHOTO = ('photo.jpg', 'image/jpeg', '2.0K')


def add_parts(corpus):
    german, greek = text_of('de')[2], text_of('el')[2]
    both = german + CRLF + greek
    corpus.add('alternative', kind_of('alternative'), multipart([text_part(), html_part()]), german)
    corpus.add('alternative-html-first', kind_of('alternative'), multipart([html_part(), text_part()]), german)
    corpus.add('alternative-html-only', kind_of('alternative'), multipart([html_part('el')]), page_text(greek))
    corpus.add('alternative-empty-plain', kind_of('alternative'),
               multipart([part(['Content-Type: text/plain'], b'\r\n'), html_part('ru')]), page_text(text_of('ru')[2]))
    related = part(['Content-Type: multipart/related; boundary=inner'], multipart([html_part(), picture()], 'inner'))
    corpus.add('alternative-related', kind_of('alternative'), multipart([text_part(), related]), german, attachments=[PHOTO])
    corpus.add('related', kind_of('related', more='; type="text/html"'), multipart([html_part(), picture()]),
               page_text(german), attachments=[PHOTO])
    corpus.add('mixed-picture', kind_of('mixed'), multipart([text_part(), picture()]), german, attachments=[PHOTO])
    corpus.add('mixed-picture-first', kind_of('mixed'), multipart([picture(), text_part()]), german, attachments=[PHOTO])
    corpus.add('mixed-two-texts', kind_of('mixed'), multipart([text_part(), text_part('el', 'iso-8859-7', 'base64')]), both)
    corpus.add('mixed-two-sets', kind_of('mixed'), multipart([text_part('ru', 'koi8-r', '8bit'),
                                                              text_part('ja', 'iso-2022-jp', '7bit')]),
               text_of('ru')[2] + CRLF + text_of('ja')[2])
    corpus.add('mixed-text-attached', kind_of('mixed'),
               multipart([text_part(), text_part('el', extra=['Content-Disposition: attachment; filename="greek.txt"'])]),
               german, attachments=[('greek.txt', 'text/plain', '%d bytes' % len(greek.encode()))])
    corpus.add('mixed-text-inline', kind_of('mixed'),
               multipart([text_part(), text_part('el', extra=['Content-Disposition: inline; filename="greek.txt"'])]), both)
    corpus.add('mixed-page', kind_of('mixed'), multipart([text_part(), html_part('el')]), german + CRLF + page_text(greek))
    signature = part(['Content-Type: application/pgp-signature; name="signature.asc"'], b'-----BEGIN PGP SIGNATURE-----')
    corpus.add('signed', kind_of('signed', more='; protocol="application/pgp-signature"; micalg=pgp-sha256'),
               multipart([text_part(), signature]), german,
               attachments=[('signature.asc', 'application/pgp-signature', '29 bytes')])
    mixed = part(['Content-Type: multipart/mixed; boundary=inner'], multipart([text_part(), picture()], 'inner'))
    corpus.add('signed-mixed', kind_of('signed'), multipart([mixed, signature]), german,
               attachments=[PHOTO, ('signature.asc', 'application/pgp-signature', '29 bytes')])
    corpus.add('around', kind_of('mixed'),
               multipart([text_part()], preamble=b'This is a message of many parts.', epilogue=b'Nobody reads this.'), german)
    corpus.add('nested', kind_of('mixed'), multipart([part(
        ['Content-Type: multipart/alternative; boundary=inner'], multipart([text_part(), html_part()], 'inner')), picture()]),
        german, attachments=[PHOTO])
    corpus.add('report', kind_of('report', more='; report-type=delivery-status'), multipart(
        [text_part(), part(['Content-Type: message/delivery-status'], b'Status: 5.1.1\r\n')]), german + CRLF + 'Status: 5.1.1\r\n')
    add_messages(corpus, german)
    add_names(corpus, german)


def add_messages(corpus, german):
    subject, author, greek = text_of('el')
    lines = ['Date: Sat, 21 Nov 2026 08:00:00 +0000', 'X-Not-Shown: 1',
             'From: %s <e@example.org>' % ' '.join(words(author, 'utf-8', 'utf-8', 'B')),
             'Subject: ' + ' '.join(words(subject, 'iso-8859-7', 'iso8859-7', 'Q')),
             'Content-Type: text/plain; charset=iso-8859-7', 'Content-Transfer-Encoding: quoted-printable']
    message = part(lines, quoted_printable(greek.encode('iso8859-7')))
    shown = ('From: %s <e@example.org>\r\nSubject: %s\r\nDate: Sat, 21 Nov 2026 08:00:00 +0000\r\n\r\n%s'
             % (author, subject, greek))
    corpus.add('message', kind_of('mixed'), multipart([text_part(), part(['Content-Type: message/rfc822'], message)]),
               german + CRLF + shown)
    corpus.add('message-alone', mime(kind='message/rfc822'), message, shown)
    corpus.add('message-base64', kind_of('mixed'), multipart([text_part(), part(
        ['Content-Type: message/rfc822', 'Content-Transfer-Encoding: base64'], base64_lines(message))]),
        german + CRLF + shown)
    corpus.add('message-attached', kind_of('mixed'), multipart([text_part(), part(
        ['Content-Type: message/rfc822', 'Content-Disposition: attachment; filename=old.eml'], message)]),
        german, attachments=[('old.eml', 'message/rfc822', '%d bytes' % len(message))])
    corpus.add('digest', kind_of('digest'), multipart([b'\r\n' + message, b'\r\n' + message]), shown + CRLF + shown)


def add_names(corpus, german):
    names = {
        'extended': ("filename*=UTF-8''%E6%B8%AF%20photo.jpg", '港 photo.jpg'),
        'continued': ('filename*0="a long ";\r\n filename*1="name.jpg"', 'a long name.jpg'),
        'continued-extended': ("filename*0*=utf-8''Gr%C3%BC;\r\n filename*1*=%C3%9Fe.jpg", 'Grüße.jpg'),
        'word-b': ('filename="=?utf-8?B?R3LDvMOfZS5qcGc=?="', 'Grüße.jpg'),
        'word-q': ('filename="=?iso-8859-1?Q?Gr=FC=DFe.jpg?="', 'Grüße.jpg'),
        'raw': ('filename="Grüße.jpg"', 'Grüße.jpg'),
        'koi8': ("filename*=koi8-r''%F0%D2%C9%D7%C5%D4.jpg", 'Привет.jpg'),
        'path': ('filename="../../etc/photo.jpg"', '../../etc/photo.jpg'),
        'override': ("filename*=utf-8''a%E2%80%AEgpj.exe", 'agpj.exe'),
        'lines': ("filename*=utf-8''a%0D%0Ab.jpg", 'ab.jpg'),
        'none': ('size=3', 'attachment-1.jpg'),
    }
    for label, (parameter, name) in names.items():
        fields = ['Content-Type: image/jpeg', 'Content-Disposition: attachment; ' + parameter]
        corpus.add('name-' + label, kind_of('mixed'), multipart([text_part(), picture(fields)]), german,
                   attachments=[(name, 'image/jpeg', '2.0K')])
    corpus.add('picture-alone', mime(kind='image/jpeg', transfer='base64', parameters='; name=photo.jpg'),
               base64_lines(PICTURE), '', attachments=[PHOTO])


def add_pages(corpus):
    for language in ('de', 'ru', 'ja', 'ar', 'emoji'):
        text = text_of(language)[2]
        corpus.add('page-' + language, mime('utf-8', 'quoted-printable', kind='text/html'),
                   quoted_printable(html(text).encode().replace(b'\n', b'\r\n')), page_text(text))
    hard = ('<h1>Title</h1><p>One &amp; two &lt;tags&gt; &eacute;&#233;&#xE9;<br>new line</p>'
            '<ul><li>first<li>second</ul><img src="http://spy.example.org/1.gif">'
            '<a href="http://example.org/x">a link</a> <a href="http://example.org/">http://example.org</a>'
            '<form action="http://example.org"><input name=q value=no></form>'
            '<blockquote>quoted</blockquote><pre>a  b\n  c</pre><table><tr><td>1<td>2<tr><td>3<td>4</table>')
    shown = ('Title\r\n\r\nOne & two <tags> ééé\r\nnew line\r\n\r\n- first\r\n- second\r\n\r\n'
             'a link <http://example.org/x> http://example.org\r\n\r\n> quoted\r\n\r\na  b\r\n  c\r\n\r\n1 2\r\n3 4\r\n')
    corpus.add('page-elements', mime('utf-8', kind='text/html'), hard.encode(), shown)
    meta = '<meta http-equiv="Content-Type" content="text/html; charset=windows-1251">' + html(text_of('ru')[2])
    corpus.add('page-meta', mime(kind='text/html'), meta.encode('cp1251'), page_text(text_of('ru')[2]))


# --- Files in texts ---------------------------------------------------------------------------------

def uuencoded(data, name):
    lines = [binascii.b2a_uu(data[i:i + 45], backtick=True).rstrip(b'\n') for i in range(0, len(data), 45)]
    return b'begin 644 %s\r\n' % name + b'\r\n'.join(lines) + b'\r\n`\r\nend\r\n'


def yenc(data, name, line=128):
    """Whole, with its checksum. Dots at line starts are doubled with all others of the article."""
    out, column = bytearray(), 0
    for byte in data:
        byte = (byte + 42) % 256
        if byte in (0, 10, 13, 61) or byte in (9, 32) and column in (0, line - 1):
            out += bytes((61, (byte + 64) % 256))
            column += 2
        else:
            out.append(byte)
            column += 1
        if column >= line:
            out += b'\r\n'
            column = 0
    if column:
        out += b'\r\n'
    head = b'=ybegin line=%d size=%d name=%s\r\n' % (line, len(data), name)
    return head + bytes(out) + b'=yend size=%d crc32=%08x\r\n' % (len(data), zlib.crc32(data))


def add_files(corpus):
    german, ascii_text = text_of('de')[2], 'Here it is.\r\n'
    uu, ye = uuencoded(PICTURE, b'photo.jpg'), yenc(PICTURE, b'photo.jpg')
    for label, data in (('uu', uu), ('yenc', ye)):
        corpus.add(label + '-alone', [], data, '', attachments=[PHOTO])
        corpus.add(label + '-below', [], ascii_text.encode() + data, ascii_text, attachments=[PHOTO])
        corpus.add(label + '-between', [], ascii_text.encode() + data + b'Bye.\r\n', ascii_text + 'Bye.\r\n', attachments=[PHOTO])
        corpus.add(label + '-utf8', mime('utf-8', '8bit'), german.encode() + data, german, attachments=[PHOTO])
        corpus.add(label + '-twice', [], data + data, '', attachments=[PHOTO, PHOTO])
    corpus.add('uu-in-part', kind_of('mixed'), multipart([part(['Content-Type: text/plain'], ascii_text.encode() + uu),
                                                          text_part()]), ascii_text + CRLF + german, attachments=[PHOTO])
    corpus.add('uu-as-transfer', kind_of('mixed'), multipart([text_part(), part(
        ['Content-Type: image/jpeg; name=photo.jpg', 'Content-Transfer-Encoding: x-uuencode'], uu)]), german, attachments=[PHOTO])
    corpus.add('uu-unnamed-begin', [], b'begin 644 is how such a file begins.\r\nNo more of it.\r\n',
               'begin 644 is how such a file begins.\r\nNo more of it.\r\n')
    corpus.add('yenc-name-1252', [], yenc(PICTURE, 'Grüße.jpg'.encode('cp1252')), '', attachments=[('Grüße.jpg',) + PHOTO[1:]])


# --- Headers ----------------------------------------------------------------------------------------

def add_headers(corpus):
    cases = {
        'beside': ('=?utf-8?Q?=C3=BC?==?utf-8?Q?=C3=A4?=x', 'üäx'),
        'blanks': ('=?utf-8?Q?a?=   =?utf-8?Q?b?= c  =?utf-8?Q?d?=', 'ab c  d'),
        'blank-inside': ('=?utf-8?Q?not so =C3=BCbel?=', 'not so übel'),
        'cut': ('=?utf-8?Q?Gr=C3=BC=C3=9F', '=?utf-8?Q?Gr=C3=BC=C3=9F'),
        'cut-then-whole': ('=?utf-8?B?R3L= =?utf-8?Q?=C3=BC?=', '=?utf-8?B?R3L= ü'),
        'nested': ('=?utf-8?Q?=3D=3Futf-8=3FQ=3Fx=3F=3D?=', '=?utf-8?Q?x?='),
        'unknown-set': ('=?x-no-such?Q?=C3=BC?= =?utf-8?Q?=C3=BC?=', '=?x-no-such?Q?=C3=BC?= ü'),
        'unknown-encoding': ('=?utf-8?Z?abc?=', '=?utf-8?Z?abc?='),
        'language': ('=?utf-8*de-AT?Q?=C3=BC?=', 'ü'),
        'split-character': ('=?utf-8?B?5riv44Gu5py=?= =?utf-8?Q?=9D=E5=B8?= =?utf-8?Q?=82?=', '港の\u672f\u0000'),
        'two-sets': ('=?iso-8859-1?Q?=FC?= =?koi8-r?B?8NLJ18XU?=', 'üПривет'),
        'line-ends': ('=?utf-8?Q?a=0D=0AX-Evil:_1?=', 'a  X-Evil: 1'),
        'control': ('=?utf-8?Q?a=00b=07c?=', 'a\ufffdb\ufffdc'),
        'override': ('=?utf-8?Q?=E2=80=AEevil=E2=80=AC_=E2=81=A6x?=', 'evil x'),
        'overlong': ('=?utf-8?Q?=C0=AF?=', 'À¯'),
        'surrogate': ('=?utf-8?Q?=ED=A0=80?=', 'í\xa0€'),
        'quoted': ('"=?utf-8?Q?J=C3=B6rg?=" (=?utf-8?Q?=C3=BC?=)', '"Jörg" (ü)'),
        'no-padding': ('=?utf-8?B?w7w?=', 'ü'),
        'lower-case': ('=?KOI8-r?q?=F0=d2?=', 'Пр'),
    }
    # A word's cut must leave whole bytes, as base64 does.
    cases['split-character'] = ('=?utf-8?Q?=E6=B8=AF=E3=81=AE=E6=9C?= =?utf-8?B?nQ==?= =?utf-8?Q?=E5=B8?= =?utf-8?Q?=82?=',
                                '港の朝市')
    for name, (subject, shown) in cases.items():
        corpus.add('header-' + name, [], b'Text.\r\n', 'Text.\r\n', subject=subject, shown_subject=shown)
    for language in ('de', 'ru', 'ja', 'zh-tw', 'emoji'):
        subject = ' / '.join([TEXTS[language][0]] * 4)
        folded = (CRLF + ' ').join(words(subject, 'UTF-8', 'utf-8', 'Q'))
        corpus.add('header-folded-' + language, mime('us-ascii'), b'Text.\r\n', 'Text.\r\n', subject=folded,
                   shown_subject=subject)


# --- What breaks rules, with what is shown of it written down ---------------------------------------

def add_broken(corpus):
    add = corpus.add
    add('broken-base64-none', mime('utf-8', 'base64'), b'This is no base64 at all, as you see.\r\n',
        'This is no base64 at all, as you see.\r\n')
    add('broken-base64-garbage', mime('utf-8', 'base64'), b'R3LD!vMOf\r\nZSBhdXMgS8*O2bG4uDQo=\r\n', 'Grüße aus Köln.\r\n')
    add('broken-base64-padding', mime('utf-8', 'base64'), b'R3LDvMOfZQ\r\n', 'Grüße')
    add('broken-base64-footer', mime('utf-8', 'base64'), b'R3LDvMOfZS4NCg==\r\n-- \r\nlist@example.org\r\n',
        'Grüße.\r\n\r\n-- \r\nlist@example.org\r\n')
    add('broken-qp-escapes', mime('utf-8', 'quoted-printable'), b'100 =XY =C3=BC = 5=\r\n=\r\n=3\r\n', '100 =XY ü = 5=3\r\n')
    add('broken-qp-raw', mime('utf-8', 'quoted-printable'), 'raw ü =C3=BC\r\n'.encode(), 'raw ü ü\r\n')
    add('broken-transfer', mime('utf-8', 'x-own-encoding'), 'raw ü =C3=BC\r\n'.encode(), 'raw ü =C3=BC\r\n')
    add('broken-no-boundary', ['Content-Type: multipart/mixed'], b'--x\r\n\r\nText\r\n--x--\r\n', '--x\r\n\r\nText\r\n--x--\r\n')
    add('broken-boundary-never', kind_of('mixed', 'never'), b'Text without parts.\r\n', 'Text without parts.\r\n')
    add('broken-no-end', kind_of('mixed'), multipart([text_part()], last=False), text_of('de')[2] + CRLF)
    add('broken-cut-in-head', kind_of('mixed'), multipart([text_part()], last=False) + b'--=_b\r\nContent-Type: image/jpeg; na',
        text_of('de')[2], attachments=[('attachment-1.jpg', 'image/jpeg', '0 bytes')])
    cut = multipart([text_part(), picture()])[:900]
    letters = cut[cut.rindex(b'\r\n\r\n'):].replace(b'\r\n', b'')
    add('broken-cut-picture', kind_of('mixed'), cut, text_of('de')[2],
        attachments=[('photo.jpg', 'image/jpeg', '%d bytes' % (len(letters) * 6 // 8))])
    add('broken-type', ['Content-Type: ;;; charset=utf-8'], 'ü\r\n'.encode(), 'ü\r\n')
    add('broken-type-text', ['Content-Type: text'], 'ü\r\n'.encode(), 'ü\r\n')
    add('broken-charset-quotes', ['Content-Type: text/plain; charset="koi8-r'], 'Привет\r\n'.encode('koi8-r'), 'Привет\r\n')
    add('broken-utf8-some', mime('utf-8', '8bit'), ('Ж' * 40).encode() + b'\xff' + ('Ж' * 40).encode() + b'\r\n',
        'Ж' * 40 + '\ufffd' + 'Ж' * 40 + CRLF)
    add('broken-utf8-overlong', mime('utf-8', '8bit'), b'\xc0\xaf\xe0\x80\xaf\r\n', 'À¯à€¯\r\n')
    add('broken-utf8-surrogates', mime('utf-8', '8bit'), b'\xed\xa0\xbd\xed\xb8\x80\r\n', 'í\xa0½í¸€\r\n')
    add('broken-controls', mime('utf-8', 'quoted-printable'), b'a=00b=07c=1B[0m=7F\r\n', 'a\ufffdb\ufffdc\ufffd[0m\ufffd\r\n')
    add('broken-lone-ends', mime('utf-8', 'base64'), base64_lines('ü\rb\nc\r\nd'.encode()), 'ü\r\nb\r\nc\r\nd')
    add('broken-page-unclosed', mime('utf-8', kind='text/html'), '<p>Grüße <b>an <a href="http://x.example'.encode(), 'Grüße an <http://x.example>\r\n')
    add('broken-page-script', mime('utf-8', kind='text/html'), b'<script>alert(1)</script >a<sCrIpT>x</ScRiPt>b', 'ab\r\n')
    add('broken-page-no-tags', mime('utf-8', kind='text/html'), b'1 < 2 & 3 > 2, write to <ann@example.org>',
        '1 < 2 & 3 > 2, write to <ann@example.org>\r\n')
    add('broken-two-types', ['Content-Type: text/plain; charset=koi8-r', 'Content-Type: text/plain; charset=utf-8'],
        'Привет\r\n'.encode('koi8-r'), 'Привет\r\n')
    add('broken-jis-raw', mime('iso-2022-jp', '7bit'), b'\x1b$BF|K\\8l\r\nabc\r\n', '日本語\r\nabc\r\n')
    add('dots', mime('utf-8', 'quoted-printable'), b'.a=\r\n.b\r\n..c\r\n.\xc3\xbc\r\n', '.a.b\r\n..c\r\n.ü\r\n')


def main():
    os.chdir(os.path.dirname(os.path.abspath(__file__)))
    for path in glob.glob('*.art') + glob.glob('*.txt'):
        os.remove(path)
    corpus = Corpus()
    for add in (add_charsets, add_unlabelled, add_lying, add_flowed, add_parts, add_pages, add_files, add_headers,
                add_broken):
        add(corpus)
    print(len(corpus.names), 'articles')


main()
