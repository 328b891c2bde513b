# Series 3, 21-character firmware text: letter 6 'A' (PS/SC contact encoder + contactless Mifare), letter 7 'M' (encoder).
model = VKTS3C
firmware = VKTS3-AM V1.02.03.045
serial = S3C000002
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 43
ribbon_remaining = 120
ribbon_capacity = 200
encoder = yes
